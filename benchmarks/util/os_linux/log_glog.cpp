// glog to a file, flushed after each line.
#include <glog/logging.h>

#include "benchmarks/util/os_linux/log_case.h"

namespace {
void Open(const std::string& file)
{
    FLAGS_logbufsecs = 0;
    FLAGS_logbuflevel = -1;
    FLAGS_timestamp_in_logfile_name = false;
    google::InitGoogleLogging("benchmark");
    google::SetLogDestination(google::INFO, file.c_str());
}

void Print(int value)
{
    LOG(INFO) << "value " << value << " of "
              << "the player";
}

void Filtered(int value)
{
    VLOG(1) << "value " << value << " of "
            << "the player";
}

const RegisteredLog sRegistered(4, "glog", {Open, Print, Filtered});
}  // namespace
