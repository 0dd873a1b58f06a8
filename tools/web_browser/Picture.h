// A picture of the page, as the engine draws it.
#ifndef TOOLS_WEB_BROWSER_PICTURE_H
#define TOOLS_WEB_BROWSER_PICTURE_H

#include <cstdint>
#include <string>
#include <vector>

struct Picture
{
    int width = 0;
    int height = 0;
    std::vector<std::uint32_t> pixels;  // rows from the top; 0xAARRGGBB, colours times alpha
};

// False, with the reason reported on standard error, when the file can not be written.
bool WritePng(const Picture& picture, const std::string& path);

#endif  // TOOLS_WEB_BROWSER_PICTURE_H
