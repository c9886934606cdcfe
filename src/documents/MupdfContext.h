#pragma once

#include <array>
#include <mutex>

struct fz_context;

namespace folvane {

// A MuPDF context that other threads may clone: it owns the mutexes that
// MuPDF takes around its shared allocator, font library and glyph cache, and
// outlives every clone made from it. Its messages are silenced.
class MupdfContext {
  public:
    // Throws std::bad_alloc when MuPDF cannot make a context.
    MupdfContext();
    ~MupdfContext();
    MupdfContext(const MupdfContext&) = delete;
    MupdfContext& operator=(const MupdfContext&) = delete;

    // The context of the thread that holds the document.
    fz_context* get() const { return context_; }

    // A context for another thread, sharing this one's store and caches;
    // dropped on destruction. Empty when MuPDF could not clone.
    class Clone {
      public:
        explicit Clone(const MupdfContext& base);
        ~Clone();
        Clone(const Clone&) = delete;
        Clone& operator=(const Clone&) = delete;
        fz_context* get() const { return context_; }
        explicit operator bool() const { return context_ != nullptr; }

      private:
        fz_context* context_;
    };

  private:
    static void lock(void* user, int index);
    static void unlock(void* user, int index);

    std::array<std::mutex, 3> mutexes_;
    fz_context* context_ = nullptr;
};

}  // namespace folvane
