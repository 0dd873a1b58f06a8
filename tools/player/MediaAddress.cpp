#include "tools/player/MediaAddress.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cmath>
#include <cstdlib>

namespace {
constexpr double kMaxClockSeconds = 1000000;

bool StartsWith(const std::string& text, const char* prefix)
{
    return text.rfind(prefix, 0) == 0;
}

bool HasScheme(const std::string& text)
{
    const std::size_t colon = text.find(':');
    return colon != std::string::npos && colon > 1 && colon < text.find('/');
}

int HexDigit(char digit)
{
    if (digit >= '0' && digit <= '9') {
        return digit - '0';
    }
    const char lower = static_cast<char>(digit | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

// "%41" becomes "A"; a percent sign without two digits stays. "%00" would end the path early and
// stays, too.
std::string Decoded(const std::string& text)
{
    std::string result;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const int high = text[at] == '%' && at + 2 < text.size() ? HexDigit(text[at + 1]) : -1;
        const int low = high >= 0 ? HexDigit(text[at + 2]) : -1;
        if (low < 0 || high + low == 0) {
            result += text[at];
            continue;
        }
        result += static_cast<char>(high * 16 + low);
        at += 2;
    }
    return result;
}

// "file:///path" or "file://localhost/path"; "" for another host.
std::string PathOf(const std::string& address)
{
    const std::string rest = address.substr(sizeof("file://") - 1);
    const std::size_t slash = rest.find('/');
    const std::string host = rest.substr(0, slash);
    if (slash == std::string::npos || (!host.empty() && host != "localhost")) {
        return "";
    }
    return Decoded(rest.substr(slash));
}

std::int64_t MillisecondsOf(const std::string& seconds)
{
    char* end = nullptr;
    const double value = std::strtod(seconds.c_str(), &end);
    const bool valid =
        end != seconds.c_str() && *end == '\0' && value > 0 && value <= kMaxClockSeconds;
    return valid ? std::llround(value * 1000) : 0;
}
}  // namespace

MediaAddress MediaAddress::Parse(const std::string& text)
{
    MediaAddress address;
    if (StartsWith(text, "clock:")) {
        address.duration = MillisecondsOf(text.substr(sizeof("clock:") - 1));
        address.kind = address.duration > 0 ? kClock : kUnknown;
    } else if (StartsWith(text, "file://")) {
        address.path = PathOf(text);
        address.kind = address.path.empty() ? kUnknown : kFile;
    } else if (StartsWith(text, "http://") || StartsWith(text, "https://")) {
        address.kind = kNetwork;
    } else if (!text.empty() && !HasScheme(text)) {
        address.path = text;
        address.kind = kFile;
    }
    return address;
}

MediaStatus InspectFile(const std::string& path, std::uint64_t& size)
{
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0 || access(path.c_str(), R_OK) != 0) {
        return HTML5_VIDEO_STATUS_ERROR_NOT_FOUND;
    }
    if (!S_ISREG(status.st_mode)) {
        return HTML5_VIDEO_STATUS_ERROR_UNSUPPORTED;
    }
    size = static_cast<std::uint64_t>(status.st_size);
    return HTML5_VIDEO_STATUS_LOADING;
}
