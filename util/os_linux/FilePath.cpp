#include "util/os_linux/FilePath.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

FilePath::FilePath(const char* path) : mPath(strdup(path != nullptr ? path : "")), mResult() {}

FilePath::~FilePath()
{
    std::free(mPath);
}

bool FilePath::GuessDir() const
{
    const std::size_t length = std::strlen(mPath);
    return length != 0 && mPath[length - 1] == '/';
}

bool FilePath::IsAbsolutePath() const
{
    return mPath[0] == '/';
}

char* FilePath::GetLastItem()
{
    const char* const separator = LastSeparator();
    return Result(separator != nullptr ? separator + 1 : mPath, mPath + std::strlen(mPath));
}

char* FilePath::GetLastDirectory()
{
    const char* const separator = LastSeparator();
    return Result(mPath, separator != nullptr ? separator : mPath + std::strlen(mPath));
}

char* FilePath::GetItem(int index)
{
    const char* item = IsAbsolutePath() ? mPath + 1 : mPath;
    if (std::strchr(mPath, '/') == nullptr) {
        return Result(mPath, mPath + std::strlen(mPath));
    }
    for (; index > 0 && item != nullptr; --index) {
        const char* const separator = std::strchr(item, '/');
        item = separator != nullptr ? separator + 1 : nullptr;
    }
    if (index < 0 || item == nullptr) {
        return Result(mPath, mPath);
    }
    return Result(item, strchrnul(item, '/'));
}

// The last "/" before the path's last character, or null.
const char* FilePath::LastSeparator() const
{
    const std::size_t length = std::strlen(mPath);
    return length < 2 ? nullptr : static_cast<const char*>(memrchr(mPath, '/', length - 1));
}

char* FilePath::Result(const char* begin, const char* end)
{
    const std::size_t length = std::min(static_cast<std::size_t>(end - begin), sizeof(mResult) - 1);
    std::memmove(mResult, begin, length);
    mResult[length] = '\0';
    return mResult;
}
