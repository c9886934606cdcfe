#include "documents/OcrWorkerPool.h"

#include <algorithm>

namespace folvane {

OcrWorkerPool::OcrWorkerPool(TextRecognizerFactory factory, unsigned threads)
    : factory_(std::move(factory)), maxThreads_(std::max(1u, threads)) {}

OcrWorkerPool::~OcrWorkerPool() {
    finish();
}

void OcrWorkerPool::submit(Job job) {
    std::unique_lock lock(mutex_);
    spaceFree_.wait(lock, [&] { return queue_.size() < maxThreads_; });
    queue_.push_back(std::move(job));
    if (threads_.size() < maxThreads_) threads_.emplace_back([this] { work(); });
    jobReady_.notify_one();
}

void OcrWorkerPool::finish() {
    {
        std::lock_guard lock(mutex_);
        closing_ = true;
    }
    jobReady_.notify_all();
    for (auto& thread : threads_) {
        if (thread.joinable()) thread.join();
    }
}

void OcrWorkerPool::work() {
    std::unique_ptr<TextRecognizer> recognizer;
    for (;;) {
        Job job;
        {
            std::unique_lock lock(mutex_);
            jobReady_.wait(lock, [&] { return !queue_.empty() || closing_; });
            if (queue_.empty()) return;
            job = std::move(queue_.front());
            queue_.pop_front();
        }
        spaceFree_.notify_one();
        if (!recognizer) recognizer = factory_();
        job(*recognizer);
    }
}

}  // namespace folvane
