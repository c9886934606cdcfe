#include "shell/app/GlobalShortcut.h"

#include <QGuiApplication>
#include <map>

#include "platform/Log.h"
#include "platform/XcbKeyGrab.h"
#include "store/AppPreferences.h"

namespace folvane {

namespace {

// The X keysym of a Qt key; 0 for a key with none here.
uint32_t keysymOf(int key) {
    if (key >= Qt::Key_A && key <= Qt::Key_Z) return uint32_t('a' + (key - Qt::Key_A));
    if (key >= Qt::Key_F1 && key <= Qt::Key_F35) return 0xffbeu + uint32_t(key - Qt::Key_F1);
    // Digits, the space and the punctuation of ASCII share their codes.
    if (key >= 0x20 && key <= 0x7e) return uint32_t(key);
    static const std::map<int, uint32_t> special = {
        {Qt::Key_Escape, 0xff1b}, {Qt::Key_Tab, 0xff09},      {Qt::Key_Backspace, 0xff08},
        {Qt::Key_Return, 0xff0d}, {Qt::Key_Enter, 0xff8d},    {Qt::Key_Insert, 0xff63},
        {Qt::Key_Delete, 0xffff}, {Qt::Key_Pause, 0xff13},    {Qt::Key_Print, 0xff61},
        {Qt::Key_Home, 0xff50},   {Qt::Key_End, 0xff57},      {Qt::Key_Left, 0xff51},
        {Qt::Key_Up, 0xff52},     {Qt::Key_Right, 0xff53},    {Qt::Key_Down, 0xff54},
        {Qt::Key_PageUp, 0xff55}, {Qt::Key_PageDown, 0xff56}, {Qt::Key_Menu, 0xff67},
    };
    const auto found = special.find(key);
    return found == special.end() ? 0 : found->second;
}

uint16_t modifiersOf(Qt::KeyboardModifiers modifiers) {
    uint16_t mask = 0;
    if (modifiers & Qt::ShiftModifier) mask |= XcbKeyGrab::shift;
    if (modifiers & Qt::ControlModifier) mask |= XcbKeyGrab::control;
    if (modifiers & Qt::AltModifier) mask |= XcbKeyGrab::alt;
    if (modifiers & Qt::MetaModifier) mask |= XcbKeyGrab::super;
    return mask;
}

}  // namespace

GlobalShortcut::GlobalShortcut(AppPreferences& preferences, QObject* parent)
    : GlobalShortcut(preferences, Registrar(), parent) {
    registrar_ = [this](const QKeySequence& key) { return grabOnX11(key); };
    follow();
}

GlobalShortcut::GlobalShortcut(AppPreferences& preferences, Registrar registrar, QObject* parent)
    : QObject(parent), preferences_(preferences), registrar_(std::move(registrar)) {
    subscription_ = preferences_.subscribe([this](std::string_view changed) {
        if (changed == settingDescriptor(Setting::openWithFolvane).key) follow();
    });
    if (registrar_) follow();
}

GlobalShortcut::~GlobalShortcut() {
    if (grab_) QCoreApplication::instance()->removeNativeEventFilter(this);
}

QKeySequence GlobalShortcut::storedKey(const AppPreferences& preferences) {
    const auto text = preferences.value(Setting::openWithFolvane).get<std::string>();
    return QKeySequence::fromString(QString::fromStdString(text), QKeySequence::PortableText);
}

void GlobalShortcut::store(AppPreferences& preferences, const QKeySequence& key) {
    // One chord: a shortcut of the whole desktop has no second stroke.
    const QKeySequence first = key.isEmpty() ? QKeySequence() : QKeySequence(key[0]);
    preferences.setValue(Setting::openWithFolvane,
                         first.toString(QKeySequence::PortableText).toStdString());
}

void GlobalShortcut::follow() {
    const QKeySequence key = storedKey(preferences_);
    if (followed_ && key == key_) return;
    followed_ = true;
    key_ = key;
    status_ = registrar_(key);
    if (!key.isEmpty()) {
        static const char* const names[] = {"none", "registered", "taken", "unavailable"};
        log("GlobalShortcut: " + key.toString(QKeySequence::PortableText).toStdString() + " " +
            names[int(status_)]);
    }
    emit statusChanged();
}

GlobalShortcut::Status GlobalShortcut::grabOnX11(const QKeySequence& key) {
    if (grab_) grab_->release();
    if (key.isEmpty()) return Status::none;
    auto* x11 = qGuiApp ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
    if (x11 == nullptr || x11->connection() == nullptr) return Status::unavailable;
    if (!grab_) {
        grab_ = std::make_unique<XcbKeyGrab>(x11->connection());
        QCoreApplication::instance()->installNativeEventFilter(this);
    }
    const QKeyCombination chord = key[0];
    const uint32_t keysym = keysymOf(int(chord.key()));
    if (keysym == 0) return Status::unavailable;
    switch (grab_->grab(keysym, modifiersOf(chord.keyboardModifiers()))) {
        case XcbKeyGrab::Result::grabbed:
            return Status::registered;
        case XcbKeyGrab::Result::taken:
            return Status::taken;
        case XcbKeyGrab::Result::unavailable:
            return Status::unavailable;
    }
    return Status::unavailable;
}

bool GlobalShortcut::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*) {
    if (!grab_ || eventType != "xcb_generic_event_t") return false;
    const auto* event = static_cast<const xcb_generic_event_t*>(message);
    if (grab_->isPress(event)) {
        pressed_ = true;
        return true;
    }
    if (grab_->isRelease(event)) {
        // Fires on letting go, once for each press that reached us.
        if (pressed_) {
            pressed_ = false;
            emit activated();
        }
        return true;
    }
    return false;
}

}  // namespace folvane
