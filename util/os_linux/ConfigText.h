// Internal. Lines of the configuration files in the working directory: "key=value", the key in any
// case at the very start; a line that begins with "#" is a comment.
#ifndef UTIL_OS_LINUX_CONFIGTEXT_H
#define UTIL_OS_LINUX_CONFIGTEXT_H

#include <strings.h>

#include <cstdio>
#include <cstring>

// When the line starts with the key, in any case, the rest of the line; else null.
inline const char* ConfigValueOf(const char* line, const char* key)
{
    const std::size_t length = std::strlen(key);
    return strncasecmp(line, key, length) == 0 ? line + length : nullptr;
}

// Removes line feeds and tabs from the end, but never the first character.
inline void StripLineEnd(char* line)
{
    std::size_t length = std::strlen(line);
    while (length > 1 && (line[length - 1] == '\n' || line[length - 1] == '\t')) {
        line[--length] = '\0';
    }
}

// Calls use(char*) for every line of the file that is neither empty nor a comment, cut to pieces
// of 255 characters. Without the file "Can not open config file" goes to standard output.
template <typename Use>
void ReadConfigFile(const char* path, Use use)
{
    FILE* const file = std::fopen(path, "re");
    if (file == nullptr) {
        std::printf("Can not open config file\n");
        return;
    }
    char line[256];
    while (std::fgets(line, sizeof(line), file) != nullptr) {
        if (std::strchr("#\r\n", line[0]) == nullptr) {
            use(line);
        }
    }
    std::fclose(file);
}

#endif  // UTIL_OS_LINUX_CONFIGTEXT_H
