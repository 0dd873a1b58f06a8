#include "util/console/CmdValue.h"

#include "util/os_linux/FixedText.h"

void CmdValue::SetInt(int value)
{
    mType = kInt;
    mValue.integer = value;
}

void CmdValue::SetFloat(float value)
{
    mType = kFloat;
    mValue.number = value;
}

void CmdValue::SetPointer(void* value)
{
    mType = kPointer;
    mValue.pointer = value;
}

const char* CmdValue::SetString(const char* text)
{
    mType = kString;
    CopyText(mValue.text, text != nullptr ? text : "");
    return mValue.text;
}
