#include "util/console/ConsoleServer.h"

#include <cstdio>

#include "util/console/CmdLanguage.h"
#include "util/console/CmdParser.h"
#include "util/os_linux/ConfigText.h"
#include "util/os_linux/FileDescriptor.h"
#include "util/os_linux/FixedText.h"
#include "util/os_linux/Sleep.h"
#include "util/os_linux/Thread.h"

namespace {
constexpr int kDefaultPort = 28282;

// Milliseconds Start and the end wait for the thread that Stop told to end.
constexpr int kStopTimeout = 2000;
}  // namespace

ConsoleServer::ConsoleServer(int port)
    : mStop(false),
      mServing(false),
      mLink(mSignal),
      mLines(mLink, mSignal),
      mLanguage(mLines, mSignal)
{
    mSettings.port = port;
}

ConsoleServer::~ConsoleServer() = default;

void ConsoleServer::LoadConfig()
{
    ReadConfigFile("./cmd.conf", [this](const char* line) { ParseConfig(line); });
    std::fflush(stdout);
}

void ConsoleServer::ParseConfig(const char* line)
{
    char copy[256];
    CopyText(copy, line);
    StripLineEnd(copy);
    ChangeSettings([&copy](ConsoleSettings& settings) { settings.Apply(copy); });
}

void ConsoleServer::Set(int ConsoleSettings::*setting, int value)
{
    ChangeSettings([setting, value](ConsoleSettings& settings) { settings.*setting = value; });
}

int ConsoleServer::Start()
{
    const StaticLockHold hold(mStartLock);
    if (!WaitForFormerThread()) {
        return -1;
    }
    LoadConfig();
    if (mThread == nullptr) {
        mThread = std::make_unique<Thread>("Command line Tester thread", ThreadBody, true, 0);
    }
    BeginServing();
    const int result = mThread->Start(this);
    if (result != 0) {
        EndServing();
    }
    return result;
}

// False when the thread was not told to stop, does not end in time or is the caller's own.
bool ConsoleServer::WaitForFormerThread()
{
    const long long deadline = MonotonicMilliseconds() + kStopTimeout;
    while (mServing || (mThread != nullptr && mThread->IsRunning())) {
        if (!mStop || Thread::IsCurrentThread(mThread.get()) ||
            MonotonicMilliseconds() > deadline) {
            return false;
        }
        MSleep(2);
    }
    return true;
}

void ConsoleServer::Stop()
{
    const StaticLockHold hold(mStateLock);
    mStop = true;
    // Only the loop clears the signal: raised without one, it would stop what the host runs itself.
    if (mServing) {
        mSignal.Raise();
    }
}

void ConsoleServer::End()
{
    Stop();
    const StaticLockHold hold(mStartLock);
    WaitForFormerThread();
}

bool ConsoleServer::BeginServing()
{
    const StaticLockHold hold(mStateLock);
    if (mServing) {
        return false;
    }
    mStop = false;
    mServing = true;
    return true;
}

void ConsoleServer::EndServing()
{
    const StaticLockHold hold(mStateLock);
    mStop = true;
    mServing = false;
    mSignal.Clear();
}

void ConsoleServer::Run()
{
    if (BeginServing()) {
        Serve();
    }
}

void* ConsoleServer::ThreadBody(void* server)
{
    static_cast<ConsoleServer*>(server)->Serve();
    return nullptr;
}

void ConsoleServer::Serve()
{
    CmdParser parser;
    char line[CmdLanguage::kLineSize];
    char result[CmdLanguage::kResultSize];
    NextClient();
    while (!mStop) {
        mLink.Send(kPrompt);
        if (mLines.Next(line) < 0) {
            if (mLink.IsGone()) {
                NextClient();
            }
        } else if (mLanguage.RunLine(parser, line, result) == CmdLanguage::kQuit) {
            NextClient();
        }
    }
    mLink.Close();
    EndServing();
}

// Opens anew, with the settings of now. Standard input that has ended has nothing more to give.
void ConsoleServer::NextClient()
{
    if (mLink.IsAtEnd() || Open() != 0) {
        mStop = true;
    }
}

int ConsoleServer::Open()
{
    ConsoleSettings settings;
    ChangeSettings([&settings](ConsoleSettings& current) {
        if (current.port <= 0) {
            current.port = kDefaultPort;
        }
        settings = current;
    });
    mLanguage.verbose = settings.verbose != 0;
    return mLink.Open(settings);
}
