#include "shell/speech/QtAudioRecorder.h"

#include <gst/gst.h>

#include <QAudioDevice>
#include <QFile>
#include <QFileInfo>
#include <QMediaDevices>
#include <stdexcept>

#include "platform/Log.h"

namespace folvane {
namespace {

const char* const noMicrophone =
    "Folvane found no microphone. Connect one, or choose an input device in the system's sound "
    "settings.";

// The first of the encoders that is installed.
const char* aacEncoder() {
    for (const char* name : {"voaacenc", "avenc_aac", "fdkaacenc", "faac"}) {
        if (GstElementFactory* factory = gst_element_factory_find(name)) {
            gst_object_unref(factory);
            return name;
        }
    }
    return nullptr;
}

std::string pipelineFor(const AudioRecorderSettings& settings) {
    const std::string raw = "autoaudiosrc ! audioconvert ! audioresample ! audio/x-raw,rate=" +
                            std::to_string(static_cast<int>(settings.sampleRate)) +
                            ",channels=" + std::to_string(settings.channels);
    if (settings.format == AudioFileFormat::wav)
        return raw + ",format=S16LE ! wavenc ! filesink name=sink";
    const char* encoder = aacEncoder();
    if (!encoder)
        throw std::runtime_error(
            "No AAC encoder is installed. Install the package gstreamer1.0-plugins-bad, or turn "
            "on On-device speech in Settings > General.");
    return raw + " ! " + encoder + " name=encoder ! mp4mux ! filesink name=sink";
}

}  // namespace

QtAudioRecorder::QtAudioRecorder(QObject* parent) : QObject(parent) {
    if (!gst_is_initialized()) gst_init(nullptr, nullptr);
    busTimer_.setInterval(20);
    connect(&busTimer_, &QTimer::timeout, this, &QtAudioRecorder::readBus);
}

QtAudioRecorder::~QtAudioRecorder() {
    // A recording still running when its owner goes ends here as it stands,
    // with nobody told.
    finished = nullptr;
    encodeError = nullptr;
    release();
}

MicrophoneAccess QtAudioRecorder::access() {
    return QMediaDevices::audioInputs().isEmpty() ? MicrophoneAccess::missing
                                                  : MicrophoneAccess::authorized;
}

void QtAudioRecorder::prepare(const std::filesystem::path& file,
                              const AudioRecorderSettings& settings) {
    if (access() == MicrophoneAccess::missing) throw std::runtime_error(noMicrophone);
    // The file is written once recording starts; whether it can be is known now.
    QFile probe(QString::fromStdString(file.string()));
    const bool existed = probe.exists();
    if (!probe.open(QIODevice::WriteOnly | QIODevice::Append)) {
        throw std::runtime_error("The recording cannot be written to " + file.string() + ": " +
                                 probe.errorString().toStdString());
    }
    probe.close();
    if (!existed) probe.remove();

    release();
    GError* error = nullptr;
    GstElement* pipeline = gst_parse_launch(pipelineFor(settings).c_str(), &error);
    if (error) {
        const std::string reason = error->message;
        g_error_free(error);
        if (pipeline) gst_object_unref(pipeline);
        throw std::runtime_error("The recorder cannot be set up: " + reason);
    }
    pipeline_ = pipeline;
    if (GstElement* encoder = gst_bin_get_by_name(GST_BIN(pipeline_), "encoder")) {
        // Bits per second, as the settings hold them.
        if (g_object_class_find_property(G_OBJECT_GET_CLASS(encoder), "bitrate"))
            g_object_set(encoder, "bitrate", settings.bitRate, nullptr);
        gst_object_unref(encoder);
    }
    GstElement* sink = gst_bin_get_by_name(GST_BIN(pipeline_), "sink");
    g_object_set(sink, "location", file.c_str(), nullptr);
    gst_object_unref(sink);
    file_ = file;
}

void QtAudioRecorder::record() {
    if (!pipeline_) throw std::logic_error("QtAudioRecorder::record() before prepare()");
    failed_ = false;
    if (gst_element_set_state(pipeline_, GST_STATE_PLAYING) == GST_STATE_CHANGE_FAILURE) {
        release();
        throw std::runtime_error(
            "Recording could not start: the microphone cannot be opened. Check the input device "
            "in the system's sound settings.");
    }
    recording_ = true;
    busTimer_.start();
}

void QtAudioRecorder::stop() {
    if (!recording_) return;
    // The end of the stream lets the muxer write its index; the caller reads
    // the file as soon as this returns, so the bus is waited on here.
    busTimer_.stop();
    gst_element_send_event(pipeline_, gst_event_new_eos());
    GstBus* bus = gst_element_get_bus(pipeline_);
    GstMessage* message = gst_bus_timed_pop_filtered(
        bus, 5 * GST_SECOND, static_cast<GstMessageType>(GST_MESSAGE_EOS | GST_MESSAGE_ERROR));
    gst_object_unref(bus);
    if (message) {
        handle(message);
    } else {
        failed_ = true;
        finish(false);
    }
}

void QtAudioRecorder::readBus() {
    if (!pipeline_) return;
    GstBus* bus = gst_element_get_bus(pipeline_);
    GstMessage* message =
        gst_bus_pop_filtered(bus, static_cast<GstMessageType>(GST_MESSAGE_EOS | GST_MESSAGE_ERROR));
    gst_object_unref(bus);
    if (message) handle(message);
}

void QtAudioRecorder::handle(GstMessage* message) {
    if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR) {
        GError* error = nullptr;
        gst_message_parse_error(message, &error, nullptr);
        const std::string description = error ? error->message : "unknown error";
        if (error) g_error_free(error);
        failed_ = true;
        log("audioRecorderEncodeErrorDidOccur " + description);
        if (encodeError) encodeError(description);
    }
    gst_message_unref(message);
    finish(!failed_);
}

void QtAudioRecorder::finish(bool success) {
    release();
    const QFileInfo written(QString::fromStdString(file_.string()));
    success = success && written.exists() && written.size() > 0;
    log("audioRecorderDidFinishRecording");
    log(success ? "Recording finished successfully" : "Recording finished unsuccessfully");
    if (finished) finished(success);
}

void QtAudioRecorder::release() {
    busTimer_.stop();
    recording_ = false;
    if (!pipeline_) return;
    gst_element_set_state(pipeline_, GST_STATE_NULL);
    gst_object_unref(pipeline_);
    pipeline_ = nullptr;
}

}  // namespace folvane
