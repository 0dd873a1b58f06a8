#include "tools/web_browser/PageChannel.h"

#include <algorithm>
#include <cmath>
#include <locale>
#include <sstream>

#include "html5_video/media_status.h"
#include "tools/web_browser/GObjectPtr.h"

namespace {
constexpr double kMaxNumber = 9007199254740991;  // above, a script's integers are not exact
constexpr double kMaxArgument = 1e9;             // an int, and ms an int for 24 days
constexpr std::size_t kMaxUrl = 65536;

using OwnedValue = GObjectPtr<JSCValue>;

OwnedValue ValueAt(JSCValue* array, guint index)
{
    return OwnedValue(jsc_value_object_get_property_at_index(array, index));
}

std::string TextAt(JSCValue* array, guint index)
{
    const OwnedValue value = ValueAt(array, index);
    if (jsc_value_is_string(value.get()) == FALSE) {
        return {};
    }
    char* const text = jsc_value_to_string(value.get());
    std::string copy = text;
    g_free(text);
    return copy;
}

// 0 for what is no number, or beyond the limit.
double NumberAt(JSCValue* array, guint index, double limit)
{
    const OwnedValue value = ValueAt(array, index);
    const double number =
        jsc_value_is_number(value.get()) != FALSE ? jsc_value_to_double(value.get()) : 0;
    return std::fabs(number) <= limit ? number : 0;
}

std::uint64_t CountAt(JSCValue* array, guint index)
{
    return static_cast<std::uint64_t>(std::max(0.0, NumberAt(array, index, kMaxNumber)));
}

bool StartsWith(const std::string& text, const char* beginning)
{
    return text.rfind(beginning, 0) == 0;
}

// The player opens what it is told, files too: those are for pages that are files themselves.
bool MayLoad(const std::string& pageAddress, const std::string& url)
{
    if (url.size() > kMaxUrl) {
        return false;
    }
    return StartsWith(url, "http://") || StartsWith(url, "https://") ||
           (StartsWith(url, "file://") && StartsWith(pageAddress, "file://"));
}
}  // namespace

PageChannel::PageChannel(PlayerLink& link) : mLink(link), mPage(0), mRefusedLoad(0) {}

void PageChannel::Receive(JSCValue* message, const std::string& pageAddress)
{
    PlayerLink::Command command;
    if (jsc_value_is_array(message) != FALSE) {
        command.name = TextAt(message, 0);
        command.page = CountAt(message, 1);
        command.id = CountAt(message, 2);
        command.url = TextAt(message, 3);
        command.first = NumberAt(message, 3, kMaxArgument);
        command.second = NumberAt(message, 4, kMaxArgument);
    }
    if (command.name == "begin") {
        mPage = command.page;
        mRefusedLoad = 0;
    }
    if (command.page != mPage) {
        return;  // the last words of a page that is no longer shown
    }
    if (command.name == "load" && !MayLoad(pageAddress, command.url)) {
        g_warning("%s must not load %.200s", pageAddress.c_str(), command.url.c_str());
        mRefusedLoad = command.id;
        command.name = "cancelLoad";
    }
    if (!mLink.Post(command)) {
        g_warning("the page's command \"%.40s\" is dropped", command.name.c_str());
    }
}

std::string PageChannel::ReportCall(const PlayerLink::Report& report) const
{
    if (mPage == 0 || report.page != mPage) {
        return {};
    }
    const bool refused = mRefusedLoad != 0 && report.done >= mRefusedLoad && report.load == 0;
    std::ostringstream call;
    call.imbue(std::locale::classic());
    call << "window.html5VideoReport&&html5VideoReport(" << report.page << ',' << report.done << ','
         << (refused ? mRefusedLoad : report.load) << ',' << (report.loadFailed && !refused) << ','
         << report.connected << ',' << report.playTime << ',' << report.endTime << ','
         << report.speed << ','
         << (refused ? HTML5_VIDEO_STATUS_ERROR_UNSUPPORTED : report.mediaStatus) << ','
         << report.inSeek << ',' << report.totalBytes << ',' << report.currentOffset << ','
         << report.width << ',' << report.height << ')';
    return call.str();
}
