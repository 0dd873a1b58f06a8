#include "tools/web_browser/ViewBackend.h"

#include <wayland-server.h>
#include <wpe/wpe.h>

#include <cstring>
#include <stdexcept>

namespace {
// The pace of the page's animations. Without one, a page that draws keeps a processor busy.
constexpr guint kFrameTime = 33;  // milliseconds

constexpr const char* kBackend = "libWPEBackend-fdo-1.0.so.1";
}  // namespace

ViewBackend::ViewBackend(int width, int height) : mExportable(nullptr), mFrameTimer(0)
{
    if (!wpe_loader_init(kBackend) || !wpe_fdo_initialize_shm()) {
        throw std::runtime_error(std::string(kBackend) + " can not draw into shared memory");
    }
    static const wpe_view_backend_exportable_fdo_client kClient = {nullptr, nullptr, OnExport,
                                                                   nullptr, nullptr};
    mExportable = wpe_view_backend_exportable_fdo_create(
        &kClient, this, static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height));
    wpe_view_backend_add_activity_state(Get(), wpe_view_activity_state_visible |
                                                   wpe_view_activity_state_focused |
                                                   wpe_view_activity_state_in_window);
}

ViewBackend::~ViewBackend()
{
    if (mFrameTimer != 0) {
        g_source_remove(mFrameTimer);
    }
    wpe_view_backend_exportable_fdo_destroy(mExportable);
}

wpe_view_backend* ViewBackend::Get() const
{
    return wpe_view_backend_exportable_fdo_get_view_backend(mExportable);
}

void ViewBackend::OnExport(void* self, wpe_fdo_shm_exported_buffer* buffer)
{
    auto* const backend = static_cast<ViewBackend*>(self);
    if (backend->mTake) {
        backend->Copy(buffer);
    }
    wpe_view_backend_exportable_fdo_dispatch_release_shm_exported_buffer(backend->mExportable,
                                                                         buffer);
    if (backend->mTake) {
        backend->mTake(backend->mPicture);
    }
    if (backend->mFrameTimer == 0) {
        backend->mFrameTimer = g_timeout_add(kFrameTime, OnFrameDue, self);
    }
}

// The engine draws the next picture only when it is told that this one was shown.
gboolean ViewBackend::OnFrameDue(gpointer self)
{
    auto* const backend = static_cast<ViewBackend*>(self);
    backend->mFrameTimer = 0;
    wpe_view_backend_exportable_fdo_dispatch_frame_complete(backend->mExportable);
    return G_SOURCE_REMOVE;
}

void ViewBackend::Copy(wpe_fdo_shm_exported_buffer* buffer)
{
    wl_shm_buffer* const memory = wpe_fdo_shm_exported_buffer_get_shm_buffer(buffer);
    mPicture.width = wl_shm_buffer_get_width(memory);
    mPicture.height = wl_shm_buffer_get_height(memory);
    const auto width = static_cast<std::size_t>(mPicture.width);
    const auto height = static_cast<std::size_t>(mPicture.height);
    const auto stride = static_cast<std::size_t>(wl_shm_buffer_get_stride(memory));
    mPicture.pixels.resize(width * height);
    wl_shm_buffer_begin_access(memory);
    const auto* const rows = static_cast<const char*>(wl_shm_buffer_get_data(memory));
    for (std::size_t row = 0; row < height; ++row) {
        std::memcpy(&mPicture.pixels[row * width], rows + row * stride, width * 4);
    }
    wl_shm_buffer_end_access(memory);
}
