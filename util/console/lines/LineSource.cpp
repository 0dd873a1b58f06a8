#include "util/console/lines/LineSource.h"

#include <cstring>

#include "util/console/CmdLanguage.h"
#include "util/console/lines/ConsoleLink.h"
#include "util/console/lines/StopSignal.h"

int LineSource::Next(char* line)
{
    mStop.Look();
    if (mStop.IsRaised()) {
        return -1;
    }
    if (mScript == nullptr) {
        return mLink.Receive(line);
    }
    const bool read = std::fgets(line, CmdLanguage::kLineSize, mScript) != nullptr;
    return read ? static_cast<int>(std::strlen(line)) : -1;
}

ScriptScope::ScriptScope(LineSource& lines, FILE* script) : mLines(lines), mFormer(lines.mScript)
{
    mLines.mScript = script;
    ++mLines.mDepth;
}

ScriptScope::~ScriptScope()
{
    std::fclose(mLines.mScript);
    mLines.mScript = mFormer;
    --mLines.mDepth;
}
