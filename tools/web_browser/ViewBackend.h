// Where the engine draws: into shared memory, which needs no display. Used by the main loop's
// thread.
#ifndef TOOLS_WEB_BROWSER_VIEWBACKEND_H
#define TOOLS_WEB_BROWSER_VIEWBACKEND_H

#include <glib.h>
#include <wpe/fdo.h>
#include <wpe/unstable/fdo-shm.h>

#include <functional>

#include "tools/web_browser/Picture.h"

class ViewBackend
{
public:
    // Throws std::runtime_error when the engine has nothing to draw with.
    ViewBackend(int width, int height);
    ViewBackend(const ViewBackend&) = delete;
    ViewBackend& operator=(const ViewBackend&) = delete;
    ~ViewBackend();

    // Valid as long as this.
    wpe_view_backend* Get() const;

    // Hands each new picture on; without a taker none is copied.
    void SetTaker(std::function<void(const Picture&)> take) { mTake = std::move(take); }

    // The last one that was handed on.
    const Picture& LastPicture() const { return mPicture; }

private:
    static void OnExport(void* self, wpe_fdo_shm_exported_buffer* buffer);
    static gboolean OnFrameDue(gpointer self);

    void Copy(wpe_fdo_shm_exported_buffer* buffer);

    wpe_view_backend_exportable_fdo* mExportable;
    std::function<void(const Picture&)> mTake;
    Picture mPicture;
    guint mFrameTimer;  // 0 when no picture waits for its next
};

#endif  // TOOLS_WEB_BROWSER_VIEWBACKEND_H
