// Public. Splits a path at "/". The texts returned stand in one buffer of the object, cut to 255
// characters, and stay valid until the next such call or the object's end. One thread at a time.
#ifndef UTIL_OS_LINUX_FILEPATH_H
#define UTIL_OS_LINUX_FILEPATH_H

#include "util/Export.h"

class HTML5_VIDEO_API FilePath
{
public:
    // The path is copied; null counts as empty, and so does a path that there is no memory for.
    explicit FilePath(const char* path);
    FilePath(const FilePath&) = delete;
    FilePath& operator=(const FilePath&) = delete;
    ~FilePath();

    // Whether the path ends with "/".
    bool GuessDir() const;

    // Whether the path begins with "/".
    bool IsAbsolutePath() const;

    // The text after the last "/" that is not the path's last character (so "/a/b/" gives "b/");
    // the whole path when there is none.
    char* GetLastItem();

    // The text before that "/" (so "/a/b/" gives "/a" and "/name" gives ""); the whole path when
    // there is none.
    char* GetLastDirectory();

    // The item at the index of the path split at "/", counted from 0 without the empty text before
    // a leading "/": of "/a/b" item 0 is "a" and item 1 is "b". Empty beyond the last item and for
    // a negative index. A path without any "/" is returned whole for every index.
    char* GetItem(int index);

private:
    HTML5_VIDEO_LOCAL const char* Path() const;
    HTML5_VIDEO_LOCAL const char* End() const;
    HTML5_VIDEO_LOCAL const char* LastSeparator() const;
    HTML5_VIDEO_LOCAL char* Result(const char* begin, const char* end);

    char* const mPath;
    char mResult[256];
};

#endif  // UTIL_OS_LINUX_FILEPATH_H
