#pragma once

#include <QAbstractNativeEventFilter>
#include <QKeySequence>
#include <QObject>
#include <functional>
#include <memory>
#include <optional>

#include "runtime/ObserverList.h"

namespace folvane {

class AppPreferences;
class XcbKeyGrab;

// The system-wide shortcut openWithFolvane: the key stored in that setting,
// grabbed on the X server for the whole desktop while the application runs,
// and grabbed again whenever the setting changes. It fires when the key is let
// go. Where no grab is possible (Wayland), the desktop's own keyboard settings
// can run `folvane --activate`, which reaches the same handler.
class GlobalShortcut final : public QObject, public QAbstractNativeEventFilter {
    Q_OBJECT
  public:
    enum class Status {
        none,         // no key recorded
        registered,   // the key is ours
        taken,        // another program holds the key
        unavailable,  // no X11 display, or a key this keyboard lacks
    };
    // Registers a key with the desktop (an empty key: gives the last one
    // back and answers none); the X11 grab by default.
    using Registrar = std::function<Status(const QKeySequence& key)>;

    explicit GlobalShortcut(AppPreferences& preferences, QObject* parent = nullptr);
    // With another registrar, for tests; its key events never come.
    GlobalShortcut(AppPreferences& preferences, Registrar registrar, QObject* parent = nullptr);
    ~GlobalShortcut() override;

    Status status() const { return status_; }
    QKeySequence key() const { return key_; }

    // The stored key (empty: none), and storing one.
    static QKeySequence storedKey(const AppPreferences& preferences);
    static void store(AppPreferences& preferences, const QKeySequence& key);

    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

  signals:
    // The key was let go; any window of any program may be in front.
    void activated();
    void statusChanged();

  private:
    void follow();
    Status grabOnX11(const QKeySequence& key);

    AppPreferences& preferences_;
    Registrar registrar_;
    std::unique_ptr<XcbKeyGrab> grab_;
    QKeySequence key_;
    Status status_ = Status::none;
    bool pressed_ = false;
    bool followed_ = false;
    Subscription subscription_;
};

}  // namespace folvane
