// The engine's view with the page: loads it, gives it the media element, carries its messages, and
// tells how it fares. Used by the main loop's thread.
#ifndef TOOLS_WEB_BROWSER_WEBPAGE_H
#define TOOLS_WEB_BROWSER_WEBPAGE_H

#include <wpe/webkit.h>

#include <functional>
#include <string>

#include "tools/web_browser/GObjectPtr.h"

class WebPage
{
public:
    struct Events
    {
        std::function<void(JSCValue* message)> message;  // from the page's script
        std::function<void(const std::string& reason)> loadFailed;
        std::function<void()> engineDied;
    };

    // The script runs in every page before the page's own, extraScript ("" for none) when the page
    // has been read. The backend must outlive this. Folder is a place for the engine's files.
    WebPage(wpe_view_backend* backend, const std::string& folder, const std::string& script,
            const std::string& extraScript, Events events);
    WebPage(const WebPage&) = delete;
    WebPage& operator=(const WebPage&) = delete;
    ~WebPage();

    void Load(const std::string& address);

    // In the page that is shown. Does not wait.
    void Run(const std::string& script);

    std::string Address() const;

private:
    static void OnMessage(WebKitUserContentManager* manager, WebKitJavascriptResult* result,
                          gpointer self);
    static void OnLoadChanged(WebKitWebView* view, WebKitLoadEvent event, gpointer self);
    static gboolean OnLoadFailed(WebKitWebView* view, WebKitLoadEvent event, const char* address,
                                 GError* error, gpointer self);
    static void OnTerminated(WebKitWebView* view, WebKitWebProcessTerminationReason reason,
                             gpointer self);
    static void OnFilter(GObject* store, GAsyncResult* result, gpointer self);

    void AddScripts(const std::string& script, const std::string& extraScript);
    void BlockMedia(const std::string& folder);

    const Events mEvents;
    GObjectPtr<WebKitUserContentManager> mManager;
    GObjectPtr<WebKitWebView> mView;
    bool mReady;           // the engine's own playback is blocked: pages may come
    std::string mWaiting;  // the address to load then
};

#endif  // TOOLS_WEB_BROWSER_WEBPAGE_H
