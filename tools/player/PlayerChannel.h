// The player's end of the channel to the browser.
#ifndef TOOLS_PLAYER_PLAYERCHANNEL_H
#define TOOLS_PLAYER_PLAYERCHANNEL_H

#include "util/ipc/IPCSocketChannel.h"

class PlayerChannel : public IPCSocketChannel
{
public:
    using IPCSocketChannel::IPCSocketChannel;

    // After Start: whether the port for the commands could be had.
    bool IsListening() const { return mBound; }
};

#endif  // TOOLS_PLAYER_PLAYERCHANNEL_H
