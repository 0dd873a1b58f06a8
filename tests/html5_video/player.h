// What the tests of the C functions share: the player's ports, its reports, and the status as a
// browser reads it.
#ifndef TESTS_HTML5_VIDEO_PLAYER_H
#define TESTS_HTML5_VIDEO_PLAYER_H

#include <gtest/gtest.h>

#include "html5_video/html5_video_client.h"
#include "tests/support/RawPeer.h"

namespace test {
constexpr int kCommandPort = 56911;
constexpr int kStatusPort = 56910;

// Play time, end time, speed, media status, in seek, total bytes, offset, width, height.
using Status = std::vector<long long>;

inline Status ReadStatus()
{
    int time = 0, end = 0, speed = 0, media = 0, inSeek = 0, width = 0, height = 0;
    unsigned long long total = 0, offset = 0;
    EXPECT_EQ(html5_video_get_status(&time, &end, &speed, &media, &inSeek, &total, &offset), 0);
    EXPECT_EQ(html5_video_get_video_dimension(&width, &height), 0);
    const auto wide = [](unsigned long long bytes) { return static_cast<long long>(bytes); };
    return {time, end, speed, media, inSeek, wide(total), wide(offset), width, height};
}

inline long long PlayTime()
{
    return ReadStatus()[0];
}

// A player's connection to the client that has been started.
inline RawPeer ConnectedPlayer()
{
    html5_video_client_init();
    return RawPeer::Connect(kStatusPort);
}

// One "SetStatus" and the reply to it.
inline void Push(const RawPeer& peer, const std::string& record)
{
    ASSERT_TRUE(peer.Send(Frame("SetStatus", record)));
    ASSERT_EQ(peer.ReceiveFrame(), EmptyReply());
}
}  // namespace test

#endif  // TESTS_HTML5_VIDEO_PLAYER_H
