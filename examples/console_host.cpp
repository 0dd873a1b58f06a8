// A host program with a debugging console: console_host [PORT]
//
// It registers commands of its own, "tune", "List" and "commands", runs a few threads to list with
// "thread_show", and serves the console on 127.0.0.1 until it is interrupted. Try it with
//
//     html5-video-console --exec 'tune 7' --exec List --exec thread_show
//
// What the statements print appears here.
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

#include "util/console/CmdClient.h"
#include "util/console/CmdMgr.h"
#include "util/os_linux/Logger.h"
#include "util/os_linux/Sleep.h"
#include "util/os_linux/Thread.h"

namespace {
// What the first command works on. Handlers run on the console's thread: a value that other
// threads use as well would need a lock.
struct Tuner
{
    int channel = 1;
};

class TunerClient final : public CmdClient<Tuner>
{
public:
    using CmdClient<Tuner>::CmdClient;

    int CmdHandler(CmdParser* line, CmdInfo* info, char* result) override
    {
        CmdValue values[2];
        const int count = line->GetCmdArgs(values, 2);
        if (count == 1 && values[0].GetType() == CmdValue::kInt && values[0].GetInt() > 0) {
            mOwner->channel = values[0].GetInt();
        } else if (count != 0) {
            std::printf("%s\n", info->mHelp);
        }
        // The line's return name, "c = tune", is assigned this text.
        std::snprintf(result, CmdMgr::kResultSize, "%d", mOwner->channel);
        std::printf("channel %s\n", result);
        std::fflush(stdout);
        return 0;
    }
};

class ListClient final : public CmdClient<CmdListMgr>
{
public:
    using CmdClient<CmdListMgr>::CmdClient;

    int CmdHandler(CmdParser* /*line*/, CmdInfo* /*info*/, char* /*result*/) override
    {
        for (int index = 0; const CmdInfo* known = mOwner->GetInfo(index); ++index) {
            std::printf("%s\n", known->mHelp != nullptr ? known->mHelp : known->mName);
        }
        std::fflush(stdout);
        return 0;
    }
};

// Writes the names that the client can complete. A file that is there is left alone: whoever
// reaches the console could have chosen any.
class NamesClient final : public CmdClient<CmdListMgr>
{
public:
    using CmdClient<CmdListMgr>::CmdClient;

    int CmdHandler(CmdParser* line, CmdInfo* info, char* /*result*/) override
    {
        const char* const path = line->GetCount() == 1 ? line->GetNthArg(0) : "";
        std::FILE* const file = std::fopen(path, "wxe");
        if (file == nullptr) {
            std::printf("%s\n", info->mHelp);
            std::fflush(stdout);
            return 0;
        }
        for (int index = 0; const CmdInfo* known = mOwner->GetInfo(index); ++index) {
            std::fprintf(file, "%s\n", known->mName);
        }
        std::fclose(file);
        return 0;
    }
};

void* Work(void* /*argument*/)
{
    for (;;) {
        MSleep(1000);
    }
    return nullptr;
}
}  // namespace

int main(int argc, char** argv)
{
    sigset_t endings;
    sigemptyset(&endings);
    sigaddset(&endings, SIGINT);
    sigaddset(&endings, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &endings, nullptr);  // before any thread starts
    if (access("logger.conf", R_OK) != 0) {
        Logger::ChangeMode(1);  // thread_show writes to the log
    }

    Tuner tuner;
    TunerClient tunerClient(&tuner);
    ListClient listClient(CmdListMgr::GetInstance());
    NamesClient namesClient(CmdListMgr::GetInstance());
    tunerClient.Register("tune int", "tune N : tune to channel N; without N show the channel");
    listClient.Register("List", "List : show all commands");
    namesClient.Register("commands string", "commands FILE : write all names to a new file");

    std::vector<std::unique_ptr<Thread>> workers;
    for (const char* name : {"Tuner thread", "Demux thread", "Section thread"}) {
        workers.push_back(std::make_unique<Thread>(name, Work, false, 0));
        workers.back()->Start(nullptr);
    }

    CmdMgr* const console =
        CmdMgr::GetInstance(argc > 1 ? static_cast<int>(std::strtol(argv[1], nullptr, 10)) : 0);
    console->SetAddress("127.0.0.1");
    console->SetTolerant(true);
    console->SetVerbose(true);
    if (console->Start() != 0) {
        return 1;
    }
    int ending = 0;
    sigwait(&endings, &ending);

    // The clients end with this function: no handler may run any more.
    console->Stop();
    CmdListMgr::GetInstance()->UnregisterCommand("tune", &tunerClient);
    CmdListMgr::GetInstance()->UnregisterCommand("List", &listClient);
    CmdListMgr::GetInstance()->UnregisterCommand("commands", &namesClient);
    CmdListMgr::GetInstance()->WaitForHandlers();
    for (const auto& worker : workers) {
        worker->Kill();
        worker->Join();
    }
    return 0;
}
