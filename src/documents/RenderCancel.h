#pragma once

#include <memory>

namespace folvane {

// Stops a render that is no longer wanted (the page scrolled away, the zoom
// changed). The caller keeps it for the render's duration and may call
// cancel() from any thread; the render then returns none.
class RenderCancel {
  public:
    RenderCancel();
    ~RenderCancel();
    RenderCancel(const RenderCancel&) = delete;
    RenderCancel& operator=(const RenderCancel&) = delete;

    void cancel();
    bool cancelled() const;
    // The fz_cookie that MuPDF polls while it draws (MuPDF's type cannot be
    // declared ahead, so it is handed out untyped).
    void* mupdfCookie();

  private:
    struct Cookie;
    std::unique_ptr<Cookie> cookie_;
};

}  // namespace folvane
