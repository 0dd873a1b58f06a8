// The program as a user runs it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/statvfs.h>
#include <sys/wait.h>

#include <nlohmann/json.hpp>
#include <string>

#include "tests/support/program.h"
#include "tests/support/support.h"

namespace {
using nlohmann::json;
using testing::HasSubstr;

// The program's answer and its exit status.
struct Answer
{
    explicit Answer(const std::string& arguments)
    {
        int status = -1;
        text = test::OutputOf(test::Program("bin/html5-video-boxinfo ") + arguments, &status);
        code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    std::string text;
    int code;
};

TEST(Boxinfo, TellsTheFactsOfThisMachine)
{
    test::WriteFile("./film", "123456789");
    const std::string self = test::ReadFile("/proc/self/cmdline").c_str();  // up to its first NUL
    const Answer answer("--json -p -s / -r '" + self + "' -c ./film");
    ASSERT_EQ(answer.code, 0) << answer.text;
    const json facts = json::parse(answer.text);  // nothing but the object was written

    EXPECT_TRUE(facts["partitions"].is_array());
    struct statvfs root = {};
    ASSERT_EQ(statvfs("/", &root), 0);
    EXPECT_EQ(facts["fileSystems"][0]["totalBytes"], root.f_bsize * root.f_blocks);
    EXPECT_EQ(facts["processes"][0]["running"], true);
    EXPECT_EQ(facts["checksums"][0]["sha1"], "f7c3bc1d808e04732adf679965ccc34ca7ae3441");
    EXPECT_EQ(facts["mounts"], json::array());
}

TEST(Boxinfo, ChecksumsAnyFile)
{
    test::WriteFile("./check", "123456789");
    EXPECT_THAT(Answer("-c ./check").text,
                HasSubstr("sha1 f7c3bc1d808e04732adf679965ccc34ca7ae3441  crc32/mpeg2 0376e6e7"));
    test::WriteFile("./\xff\xfe", "a name that is no text");
    EXPECT_TRUE(json::accept(Answer("--json -c ./*").text));
}

TEST(Boxinfo, WhatIsMissingIsShownAndEndsWith1)
{
    for (const std::string question :
         {"-s ./absent", "-c ./absent", "-c .", "-m /dev/absent", "-r /absent/program"}) {
        EXPECT_EQ(Answer(question).code, 1) << question;
        const Answer asJson("--json " + question);
        EXPECT_EQ(asJson.code, 1) << question;
        EXPECT_TRUE(json::accept(asJson.text)) << question;
    }
    EXPECT_THAT(Answer("-c ./absent").text, HasSubstr("cannot be read"));
    EXPECT_EQ(Answer("-p >/dev/full").code, 1) << "an answer that cannot be written";
    EXPECT_THAT(Answer("").text, HasSubstr("Partitions\n")) << "without a question";
}
}  // namespace
