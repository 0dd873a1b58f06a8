// Public. A tagged value, as a command handler is given its arguments. Not locked: a value belongs
// to one thread at a time.
#ifndef UTIL_CONSOLE_CMDVALUE_H
#define UTIL_CONSOLE_CMDVALUE_H

#include "util/Export.h"

class HTML5_VIDEO_API CmdValue
{
public:
    // Type codes of this class alone; symbols and command templates number theirs differently.
    enum Type
    {
        kNone = -1,
        kInt = 0,
        kString = 1,
        kFloat = 2,
        kPointer = 3
    };

    CmdValue() : mType(kNone), mValue() {}
    // A value of that type; a text is copied, cut to 255 characters.
    CmdValue(int value) : CmdValue() { SetInt(value); }
    CmdValue(float value) : CmdValue() { SetFloat(value); }
    CmdValue(const char* text) : CmdValue() { SetString(text); }

    // A Type, or whatever SetType was given.
    int GetType() const { return mType; }

    // Stores the code unchanged and leaves the value area as it is.
    void SetType(int type) { mType = type; }

    // Stores value and type; a pointer as it is, not owned.
    void SetInt(int value);
    void SetFloat(float value);
    void SetPointer(void* value);

    // Copies the text, cut to 255 characters, and returns the copy; null is taken as "".
    const char* SetString(const char* text);

    // The value when the type is that of the reader, else 0, null or "".
    int GetInt() const { return mType == kInt ? mValue.integer : 0; }
    float GetFloat() const { return mType == kFloat ? mValue.number : 0; }
    void* GetPointer() const { return mType == kPointer ? mValue.pointer : nullptr; }

    // Valid as long as the value is neither changed nor destroyed.
    const char* GetString() const { return mType == kString ? mValue.text : ""; }

private:
    union Value
    {
        char text[256];  // first, so that a new value is zeroed whole
        int integer;
        float number;
        void* pointer;
    };

    int mType;
    Value mValue;
};

#endif  // UTIL_CONSOLE_CMDVALUE_H
