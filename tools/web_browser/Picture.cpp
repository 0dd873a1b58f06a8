#include "tools/web_browser/Picture.h"

#include <png.h>

#include <cstdio>
#include <cstring>

bool WritePng(const Picture& picture, const std::string& path)
{
    png_image image;
    std::memset(&image, 0, sizeof image);
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(picture.width);
    image.height = static_cast<png_uint_32>(picture.height);
    image.format = PNG_FORMAT_RGB;
    std::vector<std::uint8_t> colours;
    colours.reserve(picture.pixels.size() * 3);
    for (const std::uint32_t pixel : picture.pixels) {
        for (const int shift : {16, 8, 0}) {
            colours.push_back(static_cast<std::uint8_t>(pixel >> shift));
        }
    }
    if (picture.pixels.empty() ||
        png_image_write_to_file(&image, path.c_str(), 0, colours.data(), 0, nullptr) == 0) {
        std::fprintf(stderr, "%s: %s\n", path.c_str(),
                     picture.pixels.empty() ? "the page has not been drawn" : image.message);
        return false;
    }
    return true;
}
