#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "documents/TextRecognizer.h"

namespace folvane {

using TextRecognizerFactory = std::function<std::unique_ptr<TextRecognizer>()>;

// Runs recognition jobs on up to `threads` threads, each with a recognizer of
// its own, made by the factory on the thread's first job. Threads start as jobs
// arrive, so a document with one page to read starts one. At most `threads`
// jobs wait in the queue: submit blocks beyond that, which bounds the rendered
// pages held in memory.
class OcrWorkerPool {
  public:
    using Job = std::function<void(TextRecognizer&)>;

    OcrWorkerPool(TextRecognizerFactory factory, unsigned threads);
    // Runs what is queued, then ends the threads.
    ~OcrWorkerPool();
    OcrWorkerPool(const OcrWorkerPool&) = delete;
    OcrWorkerPool& operator=(const OcrWorkerPool&) = delete;

    // A job must not throw; whatever it has to report it keeps itself.
    void submit(Job job);
    // Returns once every submitted job has run; the pool takes no more jobs.
    void finish();

  private:
    void work();

    TextRecognizerFactory factory_;
    unsigned maxThreads_;
    std::mutex mutex_;
    std::condition_variable jobReady_;
    std::condition_variable spaceFree_;
    std::deque<Job> queue_;
    bool closing_ = false;
    std::vector<std::jthread> threads_;
};

}  // namespace folvane
