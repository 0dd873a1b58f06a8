// Path splitting: results stay within the path, and the items joined again are the path.
#include <algorithm>
#include <string>

#include "fuzz/support/support.h"
#include "util/os_linux/FilePath.h"

void fuzz::Run(const std::string& bytes)
{
    const std::string text(bytes.c_str());
    FilePath path(text.c_str());
    for (const char* part : {path.GetLastItem(), path.GetLastDirectory()}) {
        Require(text.find(part) != std::string::npos, "a part is not in the path");
    }
    Require(path.GuessDir() == (!text.empty() && text.back() == '/'), "directory guess");
    if (text.size() > 255 || text.find('/') == std::string::npos) {
        return;
    }
    const std::string relative = path.IsAbsolutePath() ? text.substr(1) : text;
    const int count = 1 + static_cast<int>(std::count(relative.begin(), relative.end(), '/'));
    std::string joined = path.GetItem(0);
    for (int index = 1; index < count; ++index) {
        joined += std::string("/") + path.GetItem(index);
    }
    Require(joined == relative, "the items are not the path");
    Require(*path.GetItem(count) == '\0' && *path.GetItem(-1) == '\0', "beyond the items");
}
