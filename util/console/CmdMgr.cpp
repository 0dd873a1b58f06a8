#include "util/console/CmdMgr.h"

#include <cstring>

#include "util/console/CmdParser.h"
#include "util/console/ConsoleLink.h"
#include "util/console/ConsoleSettings.h"
#include "util/console/StopSignal.h"
#include "util/console/SymListMgr.h"
#include "util/os_linux/ConfigText.h"
#include "util/os_linux/FileDescriptor.h"
#include "util/os_linux/FixedText.h"
#include "util/os_linux/Singleton.h"
#include "util/os_linux/Sleep.h"
#include "util/os_linux/Thread.h"

std::atomic<CmdMgr*> CmdMgr::sCmdMgr{nullptr};
FILE* CmdMgr::mScript = nullptr;
bool CmdMgr::mIsScript = false;

namespace {
constexpr char kPrompt[] = "\nCMD>";
constexpr int kDefaultPort = 28282;

// Milliseconds Start waits for the thread that Stop told to end.
constexpr int kStopTimeout = 2000;
}  // namespace

static_assert(CmdMgr::kLineSize == ConsoleLink::kLineSize, "one line buffer");

CmdMgr* CmdMgr::GetInstance(int port)
{
    static StaticLock sLock;
    return GetOrMake(sCmdMgr, sLock, [port] { return new CmdMgr(port); });
}

CmdMgr::CmdMgr(int port)
    : mStop(false),
      mServing(false),
      mSettings(new ConsoleSettings),
      mSignal(new StopSignal),
      mLink(new ConsoleLink(*mSignal)),
      mScriptDepth(0)
{
    mSettings->port = port;
    Init();
    sCmdMgr = this;
}

CmdMgr::~CmdMgr()
{
    Stop();
    const StaticLockHold hold(mStartLock);
    WaitForFormerThread();
    CmdMgr* expected = this;
    sCmdMgr.compare_exchange_strong(expected, nullptr);
}

void CmdMgr::Init()
{
    SymListMgr* const symbols = SymListMgr::GetInstance();
    symbols->RegisterSymbol("NTSC", "0", SymInfo::kInt, true);
    symbols->RegisterSymbol("PAL", "1", SymInfo::kInt, true);
}

void CmdMgr::LoadConfig()
{
    ReadConfigFile("./cmd.conf", [this](const char* line) { ParseConfig(line); });
    std::fflush(stdout);
}

void CmdMgr::ParseConfig(const char* line)
{
    char copy[256];
    CopyText(copy, line);
    StripLineEnd(copy);
    const StaticLockHold hold(mSettingsLock);
    mSettings->Apply(copy);
}

void CmdMgr::SetAddress(const char* address)
{
    const StaticLockHold hold(mSettingsLock);
    mSettings->address = address != nullptr ? address : "";
}

void CmdMgr::SetTolerant(bool tolerant)
{
    const StaticLockHold hold(mSettingsLock);
    mSettings->tolerant = tolerant;
}

void CmdMgr::SetStartTimeout(int milliseconds)
{
    const StaticLockHold hold(mSettingsLock);
    mSettings->startTimeout = milliseconds;
}

int CmdMgr::Start()
{
    const StaticLockHold hold(mStartLock);
    if (!WaitForFormerThread()) {
        return -1;
    }
    LoadConfig();
    if (mThread == nullptr) {
        mThread = std::make_unique<Thread>("Command line Tester thread", RunThread, true, 0);
    }
    BeginServing();
    const int result = mThread->Start(this);
    if (result != 0) {
        EndServing();
    }
    return result;
}

// False when the thread was not told to stop, does not end in time or is the caller's own.
bool CmdMgr::WaitForFormerThread()
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

void CmdMgr::Stop()
{
    const StaticLockHold hold(mStateLock);
    mStop = true;
    if (mServing) {
        mSignal->Raise();
    }
}

bool CmdMgr::BeginServing()
{
    const StaticLockHold hold(mStateLock);
    if (mServing) {
        return false;
    }
    mStop = false;
    mServing = true;
    return true;
}

void CmdMgr::EndServing()
{
    const StaticLockHold hold(mStateLock);
    mStop = true;
    mServing = false;
    mSignal->Clear();
}

void* CmdMgr::ThreadLoop(void* manager)
{
    CmdMgr* const console = static_cast<CmdMgr*>(manager);
    if (console->BeginServing()) {
        console->Serve();
    }
    return nullptr;
}

void* CmdMgr::RunThread(void* manager)
{
    static_cast<CmdMgr*>(manager)->Serve();
    return nullptr;
}

void CmdMgr::Serve()
{
    CmdParser parser;
    char line[kLineSize];
    char result[kResultSize];
    NextClient();
    while (!mStop) {
        SetLine(kPrompt);
        if (GetLine(line) < 0) {
            if (mLink->IsGone()) {
                NextClient();
            }
        } else if (RunLine(&parser, line, result) == kQuit) {
            NextClient();
        }
    }
    Close();
    EndServing();
}

// Opens anew, with the settings of now. Standard input that has ended has nothing more to give.
void CmdMgr::NextClient()
{
    if (mLink->IsAtEnd() || Open() != 0) {
        mStop = true;
    }
}

int CmdMgr::Open()
{
    ConsoleSettings settings;
    {
        const StaticLockHold hold(mSettingsLock);
        if (mSettings->port <= 0) {
            mSettings->port = kDefaultPort;
        }
        settings = *mSettings;
    }
    return mLink->Open(settings);
}

void CmdMgr::Close()
{
    mLink->Close();
}

int CmdMgr::GetLine(char* line)
{
    if (mSignal->IsRaised()) {
        return -1;
    }
    if (mIsScript && mScript != nullptr) {
        const bool read = std::fgets(line, kLineSize, mScript) != nullptr;
        return read ? static_cast<int>(std::strlen(line)) : -1;
    }
    return mLink->Receive(line);
}

int CmdMgr::SetLine(const char* text)
{
    return mLink->Send(text);
}

int CmdMgr::SendResult(const char* /*text*/)
{
    return 0;
}

const char* CmdMgr::RemovePrompt(const char* text)
{
    return std::strstr(text, kPrompt) != nullptr ? text + std::strlen(kPrompt) : text;
}
