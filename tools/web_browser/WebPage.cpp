#include "tools/web_browser/WebPage.h"

#include <utility>

namespace {
constexpr const char* kHandler = "html5Video";

// No media is ever fetched by the engine itself: that is the player's work.
constexpr const char* kMediaFilter =
    R"([{"trigger": {"url-filter": ".*", "resource-type": ["media"]},
         "action": {"type": "block"}}])";

WebKitUserScript* MakeScript(const std::string& text, WebKitUserScriptInjectionTime time)
{
    return webkit_user_script_new(text.c_str(), WEBKIT_USER_CONTENT_INJECT_TOP_FRAME, time, nullptr,
                                  nullptr);
}

GObjectPtr<WebKitWebContext> MakeContext(const std::string& folder)
{
    const GObjectPtr<WebKitWebsiteDataManager> data(webkit_website_data_manager_new(
        "base-data-directory", folder.c_str(), "base-cache-directory", folder.c_str(), nullptr));
    GObjectPtr<WebKitWebContext> context(
        webkit_web_context_new_with_website_data_manager(data.get()));
    return context;
}
void LeaveBackend(gpointer /*backend*/) {}
}  // namespace

WebPage::WebPage(wpe_view_backend* backend, const std::string& folder, const std::string& script,
                 const std::string& extraScript, Events events)
    : mEvents(std::move(events)), mManager(webkit_user_content_manager_new()), mReady(false)
{
    const GObjectPtr<WebKitWebContext> context = MakeContext(folder);
    // A page that was left is not kept: going back to it begins it anew.
    const GObjectPtr<WebKitSettings> settings(webkit_settings_new_with_settings(
        "enable-write-console-messages-to-stdout", TRUE, "media-playback-requires-user-gesture",
        FALSE, "enable-page-cache", FALSE, nullptr));
    AddScripts(script, extraScript);
    mView.reset(WEBKIT_WEB_VIEW(g_object_new(
        WEBKIT_TYPE_WEB_VIEW, "backend",
        webkit_web_view_backend_new(backend, LeaveBackend, backend),  // or the view destroys it
        "web-context", context.get(), "settings", settings.get(), "user-content-manager",
        mManager.get(), nullptr)));
    g_signal_connect(mView.get(), "load-changed", G_CALLBACK(OnLoadChanged), this);
    g_signal_connect(mView.get(), "load-failed", G_CALLBACK(OnLoadFailed), this);
    g_signal_connect(mView.get(), "web-process-terminated", G_CALLBACK(OnTerminated), this);
    BlockMedia(folder);
}

WebPage::~WebPage()
{
    g_signal_handlers_disconnect_by_data(mView.get(), this);
    g_signal_handlers_disconnect_by_data(mManager.get(), this);
}

void WebPage::AddScripts(const std::string& script, const std::string& extraScript)
{
    const std::string signal = std::string("script-message-received::") + kHandler;
    g_signal_connect(mManager.get(), signal.c_str(), G_CALLBACK(OnMessage), this);
    webkit_user_content_manager_register_script_message_handler(mManager.get(), kHandler);
    WebKitUserScript* const element =
        MakeScript(script, WEBKIT_USER_SCRIPT_INJECT_AT_DOCUMENT_START);
    webkit_user_content_manager_add_script(mManager.get(), element);
    webkit_user_script_unref(element);
    if (!extraScript.empty()) {
        WebKitUserScript* const extra =
            MakeScript(extraScript, WEBKIT_USER_SCRIPT_INJECT_AT_DOCUMENT_END);
        webkit_user_content_manager_add_script(mManager.get(), extra);
        webkit_user_script_unref(extra);
    }
}

void WebPage::BlockMedia(const std::string& folder)
{
    const GObjectPtr<WebKitUserContentFilterStore> store(
        webkit_user_content_filter_store_new(folder.c_str()));
    GBytes* const source =
        g_bytes_new_static(kMediaFilter, std::char_traits<char>::length(kMediaFilter));
    webkit_user_content_filter_store_save(store.get(), "media", source, nullptr, OnFilter, this);
    g_bytes_unref(source);
}

void WebPage::OnFilter(GObject* store, GAsyncResult* result, gpointer self)
{
    auto* const page = static_cast<WebPage*>(self);
    GError* error = nullptr;
    WebKitUserContentFilter* const filter = webkit_user_content_filter_store_save_finish(
        WEBKIT_USER_CONTENT_FILTER_STORE(store), result, &error);
    if (filter == nullptr) {
        page->mEvents.loadFailed(error->message);
        g_error_free(error);
        return;
    }
    webkit_user_content_manager_add_filter(page->mManager.get(), filter);
    webkit_user_content_filter_unref(filter);
    page->mReady = true;
    if (!page->mWaiting.empty()) {
        page->Load(std::exchange(page->mWaiting, {}));
    }
}

void WebPage::Load(const std::string& address)
{
    if (mReady) {
        webkit_web_view_load_uri(mView.get(), address.c_str());
    } else {
        mWaiting = address;
    }
}

void WebPage::Run(const std::string& script)
{
    webkit_web_view_run_javascript(mView.get(), script.c_str(), nullptr, nullptr, nullptr);
}

std::string WebPage::Address() const
{
    const char* const address = webkit_web_view_get_uri(mView.get());
    return address != nullptr ? address : "";
}

void WebPage::OnMessage(WebKitUserContentManager* /*manager*/, WebKitJavascriptResult* result,
                        gpointer self)
{
    static_cast<const WebPage*>(self)->mEvents.message(
        webkit_javascript_result_get_js_value(result));
}

// The engine counts an answer such as 404 as a page like any other.
void WebPage::OnLoadChanged(WebKitWebView* view, WebKitLoadEvent event, gpointer self)
{
    if (event != WEBKIT_LOAD_COMMITTED) {
        return;
    }
    WebKitWebResource* const resource = webkit_web_view_get_main_resource(view);
    WebKitURIResponse* const response =
        resource != nullptr ? webkit_web_resource_get_response(resource) : nullptr;
    const guint status = response != nullptr ? webkit_uri_response_get_status_code(response) : 0;
    if (status >= 400) {
        const auto* const page = static_cast<const WebPage*>(self);
        page->mEvents.loadFailed(page->Address() + ": HTTP status " + std::to_string(status));
    }
}

gboolean WebPage::OnLoadFailed(WebKitWebView* /*view*/, WebKitLoadEvent /*event*/,
                               const char* address, GError* error, gpointer self)
{
    // A page that goes elsewhere before it was loaded has not failed.
    const bool replaced =
        g_error_matches(error, WEBKIT_NETWORK_ERROR, WEBKIT_NETWORK_ERROR_CANCELLED) ||
        g_error_matches(error, WEBKIT_POLICY_ERROR,
                        WEBKIT_POLICY_ERROR_FRAME_LOAD_INTERRUPTED_BY_POLICY_CHANGE);
    if (!replaced) {
        static_cast<const WebPage*>(self)->mEvents.loadFailed(std::string(address) + ": " +
                                                              error->message);
    }
    return FALSE;
}

void WebPage::OnTerminated(WebKitWebView* /*view*/, WebKitWebProcessTerminationReason /*reason*/,
                           gpointer self)
{
    static_cast<const WebPage*>(self)->mEvents.engineDied();
}
