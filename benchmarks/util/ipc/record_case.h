// Twelve named integers, encoded and decoded into a fresh record.
#ifndef BENCHMARKS_UTIL_IPC_RECORD_CASE_H
#define BENCHMARKS_UTIL_IPC_RECORD_CASE_H

#include "benchmarks/support/registered.h"

constexpr int kIntegers = 12;

constexpr const char* kNames[kIntegers] = {"playTime",
                                           "endTime",
                                           "speed",
                                           "status",
                                           "mediaStatus",
                                           "width",
                                           "height",
                                           "inSeek",
                                           "totalBytesHigh",
                                           "totalBytesLow",
                                           "currentOffsetHigh",
                                           "currentOffsetLow"};

// Encodes first, first + 1, ... under the names, decodes them and returns their sum.
using RecordCase = int (*)(int first);
using RegisteredRecord = bench::Registered<RecordCase>;

#endif  // BENCHMARKS_UTIL_IPC_RECORD_CASE_H
