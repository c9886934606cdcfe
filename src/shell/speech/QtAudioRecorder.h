#pragma once

#include <QObject>
#include <QTimer>

#include "platform/AudioRecorder.h"

typedef struct _GstElement GstElement;
typedef struct _GstMessage GstMessage;

namespace folvane {

// The desktop's recorder: the default audio input into an MPEG-4 AAC or a
// 16-bit WAV file, through a GStreamer pipeline of our own (the system's
// sound server via autoaudiosrc, then resampling to the settings' rate and
// channels, the encoder and the muxer). Qt's recorder is not used: on Qt 6.4
// its GStreamer backend ignores the bit rate, rate and channels, and its
// encoding bin links no AAC encoder, so the file never gets written.
class QtAudioRecorder final : public QObject, public AudioRecorder {
    Q_OBJECT
  public:
    explicit QtAudioRecorder(QObject* parent = nullptr);
    ~QtAudioRecorder() override;

    // `missing` when the desktop has no audio input at all; otherwise
    // `authorized`: PulseAudio and PipeWire let every program record, and a
    // sandbox's refusal shows up as a failed recording.
    MicrophoneAccess access() override;
    void prepare(const std::filesystem::path& file, const AudioRecorderSettings& settings) override;
    void record() override;
    void stop() override;

    bool isRecording() const { return recording_; }

  private:
    void readBus();
    void handle(GstMessage* message);
    void finish(bool success);
    void release();

    GstElement* pipeline_ = nullptr;
    QTimer busTimer_;
    std::filesystem::path file_;
    bool recording_ = false;
    bool failed_ = false;
};

}  // namespace folvane
