#include "shell/speech/QtAudioPlayer.h"

#include <QFile>
#include <QUrl>
#include <stdexcept>

namespace folvane {

QtAudioPlayer::QtAudioPlayer(QObject* parent) : QObject(parent) {
    player_.setAudioOutput(&output_);
    connect(&player_, &QMediaPlayer::mediaStatusChanged, this,
            [this](QMediaPlayer::MediaStatus status) {
                if (status == QMediaPlayer::EndOfMedia && finished) finished();
            });
    connect(&player_, &QMediaPlayer::errorOccurred, this,
            [this](QMediaPlayer::Error, const QString& description) {
                if (failed) failed(description.toStdString());
            });
}

QtAudioPlayer::~QtAudioPlayer() {
    finished = nullptr;
    failed = nullptr;
    player_.stop();
}

void QtAudioPlayer::play(const std::filesystem::path& file, float volume) {
    // What can be known before anything plays: the file is there, readable
    // and not empty. A file that does not decode is told through `failed`.
    QFile probe(QString::fromStdString(file.string()));
    if (!probe.open(QIODevice::ReadOnly))
        throw std::runtime_error("The sound file " + file.string() +
                                 " cannot be opened: " + probe.errorString().toStdString());
    if (probe.size() == 0)
        throw std::runtime_error("The sound file " + file.string() + " is empty.");
    probe.close();
    output_.setVolume(volume);
    player_.setSource(QUrl::fromLocalFile(probe.fileName()));
    player_.play();
}

void QtAudioPlayer::pause() {
    player_.pause();
}

void QtAudioPlayer::stop() {
    player_.stop();
}

}  // namespace folvane
