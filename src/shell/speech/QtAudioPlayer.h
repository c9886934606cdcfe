#pragma once

#include <QAudioOutput>
#include <QMediaPlayer>
#include <QObject>

#include "platform/AudioPlayer.h"

namespace folvane {

// The desktop's player: one file through Qt Multimedia to the default output.
class QtAudioPlayer final : public QObject, public AudioPlayer {
    Q_OBJECT
  public:
    explicit QtAudioPlayer(QObject* parent = nullptr);
    ~QtAudioPlayer() override;

    void play(const std::filesystem::path& file, float volume) override;
    void pause() override;
    void stop() override;

    bool isPlaying() const { return player_.playbackState() == QMediaPlayer::PlayingState; }

  private:
    QAudioOutput output_;
    QMediaPlayer player_;
};

}  // namespace folvane
