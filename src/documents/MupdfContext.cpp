#include "documents/MupdfContext.h"

extern "C" {
#include <mupdf/fitz.h>
}

#include <new>

namespace folvane {

static_assert(FZ_LOCK_MAX == 3, "MupdfContext holds one mutex for each of MuPDF's locks");

namespace {

void ignoreMessage(void*, const char*) {}

void silence(fz_context* context) {
    fz_set_error_callback(context, ignoreMessage, nullptr);
    fz_set_warning_callback(context, ignoreMessage, nullptr);
}

}  // namespace

void MupdfContext::lock(void* user, int index) {
    static_cast<MupdfContext*>(user)->mutexes_[static_cast<size_t>(index)].lock();
}

void MupdfContext::unlock(void* user, int index) {
    static_cast<MupdfContext*>(user)->mutexes_[static_cast<size_t>(index)].unlock();
}

MupdfContext::MupdfContext() {
    // MuPDF copies the structure into the context.
    fz_locks_context locks{this, &MupdfContext::lock, &MupdfContext::unlock};
    context_ = fz_new_context(nullptr, &locks, FZ_STORE_DEFAULT);
    if (!context_) throw std::bad_alloc();
    silence(context_);
}

MupdfContext::~MupdfContext() {
    fz_drop_context(context_);
}

MupdfContext::Clone::Clone(const MupdfContext& base) : context_(fz_clone_context(base.get())) {
    if (context_) silence(context_);
}

MupdfContext::Clone::~Clone() {
    if (context_) fz_drop_context(context_);
}

}  // namespace folvane
