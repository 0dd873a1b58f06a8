#include "tools/browser/LogAccess.h"

#include <dlfcn.h>

#include "tools/support/LogMode.h"

// static void Logger::ChangeMode(int mode), static int Logger::GetMode()
LogAccess::LogAccess(void* libraryHandle)
    : mChangeMode(
          reinterpret_cast<void (*)(int)>(dlsym(libraryHandle, "_ZN6Logger10ChangeModeEi"))),
      mConfigured(kLogNone)
{
    const auto getMode = reinterpret_cast<int (*)()>(dlsym(libraryHandle, "_ZN6Logger7GetModeEv"));
    if (getMode != nullptr) {
        mConfigured = getMode();
    }
}

void LogAccess::SetMode(int mode) const
{
    if (mChangeMode != nullptr) {
        mChangeMode(mode == kLogAsConfigured ? mConfigured : mode);
    }
}
