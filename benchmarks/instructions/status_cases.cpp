// Reading the player's state through the C function.
#include <fcntl.h>
#include <unistd.h>

#include "benchmarks/instructions/counting.h"
#include "benchmarks/instructions/video_client.h"
#include "benchmarks/support/interleave.h"
#include "benchmarks/util/ipc/plain_sockets.h"
#include "html5_video/HTML5VideoClient.h"

namespace {
void CountRead(int reads)
{
    StartVideoClient(NewEndpoint(true).port, SetStatus_IPC);
    // The player has reported once; before that a read takes a longer way.
    HTML5VideoClient::GetInstance()->setStatus(1000, 60000, 100, 7, 2, false, 5000, 2500);
    count::Count(reads, [] {
        int time = 0;
        int end = 0;
        int speed = 0;
        int media = 0;
        int seeking = 0;
        unsigned long long total = 0;
        unsigned long long offset = 0;
        html5_video_get_status(&time, &end, &speed, &media, &seeking, &total, &offset);
        bench::Keep(offset);
    });
}

const count::RegisteredCase sRead(3, "status/read", {10000, CountRead});
}  // namespace
