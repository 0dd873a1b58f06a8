#include <gtest/gtest.h>

#include <thread>

#include "tests/util/checksum/bytes.h"
#include "util/checksum/SHA1.h"

// The first use, which chooses the code for this processor, falls into the threads too: each test
// is a process of its own.
TEST(Sha1Threads, RunSeveralDigestsAtTheSameTime)
{
    std::mt19937 random(5);
    const test::Bytes message = test::RandomBytes(random, 5000);
    std::vector<std::string> digests(4);
    std::vector<std::thread> threads;
    for (std::string& digest : digests) {
        threads.emplace_back([&message, &digest] {
            for (int repeat = 0; repeat < 200; ++repeat) {
                SHA1Calculator calculator;
                calculator.Start();
                for (int at = 0; at < 5000; at += 50) {
                    calculator.Update(message.data() + at, 50);
                }
                calculator.Finish();
                const std::string next = test::Hex(calculator.mDigest, 20);
                digest = digest.empty() || digest == next ? next : "differs between runs";
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    SHA1Calculator alone;
    alone.Calculate(message.data(), 5000);
    for (const std::string& digest : digests) {
        EXPECT_EQ(digest, test::Hex(alone.mDigest, 20));
    }
}
