// The messages between the page's script and the player. Up come commands, as arrays: name, page,
// number, and what the command takes. Down go reports, as numbers in a call of the script's.
//
// Used by the main loop's thread. A page is not trusted: what is no command is reported on standard
// error and dropped.
#ifndef TOOLS_WEB_BROWSER_PAGECHANNEL_H
#define TOOLS_WEB_BROWSER_PAGECHANNEL_H

#include <jsc/jsc.h>

#include <cstdint>
#include <string>

#include "tools/web_browser/PlayerLink.h"

class PageChannel
{
public:
    // The link must outlive this.
    explicit PageChannel(PlayerLink& link);

    // A message from the page at this address, or from one that was there before.
    void Receive(JSCValue* message, const std::string& pageAddress);

    // The call that hands a report to the page; "" when the page shown has not begun yet.
    std::string ReportCall(const PlayerLink::Report& report) const;

private:
    PlayerLink& mLink;
    std::uint64_t mPage;         // that began last, 0 for none
    std::uint64_t mRefusedLoad;  // its last load, when that must not be
};

#endif  // TOOLS_WEB_BROWSER_PAGECHANNEL_H
