// The players of c_recovery_test.c: each a process of its own, made of plain system calls.
#include <unistd.h>

#include <chrono>

#include "html5_video/media_status.h"
#include "tests/support/RawPeer.h"

// Starts a player that plays from this time on, in milliseconds: it reports every 50 ms, answers
// every command, and writes to the descriptor when its first report was answered, by the monotonic
// clock in milliseconds. It ends with its parent's socket or by a signal. The process's id.
extern "C" pid_t start_player(int start, int started)
{
    const pid_t child = fork();
    if (child != 0) {
        return child;
    }
    const test::RawListener listener(56911);
    const test::RawPeer state = test::RawPeer::Connect(56910);
    test::RawPeer commands(-1);
    for (int time = start;; time += 50) {
        state.Send(
            test::Frame("SetStatus", test::Integers({time, 0, 0, 0, HTML5_VIDEO_STATUS_PLAYING})));
        if (state.ReceiveFrame().empty()) {
            _exit(0);
        }
        if (time == start) {
            const long long now =
                std::chrono::steady_clock::now().time_since_epoch() / std::chrono::milliseconds(1);
            if (write(started, &now, sizeof(now)) != sizeof(now)) {
                _exit(1);
            }
        }
        if (!commands.IsOpen()) {
            if (listener.SomebodyConnected(50)) {
                commands = listener.Accept();
            }
        } else if (commands.HasInput(50) &&
                   (commands.ReceiveFrame().empty() || !commands.Send(test::EmptyReply()))) {
            commands.Close();
        }
    }
}
