// The browser's nine commands as methods of the channel. A request whose arguments are missing or
// of another type is refused with a log line; a value that no engine could follow is moved to the
// nearest one that it can. The answer is always an empty reply.
//
// "load" with the null string, which arrives as the integer 0, or with "" unloads. The answer to a
// load, and to a cancelLoad, parts the media: no state of the medium before is reported after it.
#ifndef TOOLS_PLAYER_COMMANDS_H
#define TOOLS_PLAYER_COMMANDS_H

class IPCChannel;
class Player;
class StatusPusher;

// Handlers are plain functions, so there is one player per process, which must outlive the serving
// of the channel, as must the pusher of its state.
void RegisterCommands(IPCChannel& channel, Player& player, StatusPusher& pusher);

// From now on every answer is given that many milliseconds after its command was taken; 0 also ends
// a wait that is under way.
void SetAnswerDelay(int milliseconds);

#endif  // TOOLS_PLAYER_COMMANDS_H
