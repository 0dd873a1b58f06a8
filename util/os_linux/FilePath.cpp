#include "util/os_linux/FilePath.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

FilePath::FilePath(const char* path) : mPath(strdup(path != nullptr ? path : "")), mResult() {}

FilePath::~FilePath()
{
    std::free(mPath);
}

const char* FilePath::Path() const
{
    return mPath != nullptr ? mPath : "";
}

const char* FilePath::End() const
{
    return Path() + std::strlen(Path());
}

bool FilePath::GuessDir() const
{
    const std::size_t length = std::strlen(Path());
    return length != 0 && Path()[length - 1] == '/';
}

bool FilePath::IsAbsolutePath() const
{
    return Path()[0] == '/';
}

char* FilePath::GetLastItem()
{
    const char* const separator = LastSeparator();
    return Result(separator != nullptr ? separator + 1 : Path(), End());
}

char* FilePath::GetLastDirectory()
{
    const char* const separator = LastSeparator();
    return Result(Path(), separator != nullptr ? separator : End());
}

char* FilePath::GetItem(int index)
{
    const char* item = IsAbsolutePath() ? Path() + 1 : Path();
    if (std::strchr(Path(), '/') == nullptr) {
        return Result(Path(), End());
    }
    for (; index > 0 && item != nullptr; --index) {
        const char* const separator = std::strchr(item, '/');
        item = separator != nullptr ? separator + 1 : nullptr;
    }
    if (index < 0 || item == nullptr) {
        return Result(Path(), Path());
    }
    return Result(item, strchrnul(item, '/'));
}

// The last "/" before the path's last character, or null.
const char* FilePath::LastSeparator() const
{
    const std::size_t length = std::strlen(Path());
    return length < 2 ? nullptr : static_cast<const char*>(memrchr(Path(), '/', length - 1));
}

char* FilePath::Result(const char* begin, const char* end)
{
    const std::size_t length = std::min(static_cast<std::size_t>(end - begin), sizeof(mResult) - 1);
    std::memmove(mResult, begin, length);
    mResult[length] = '\0';
    return mResult;
}
