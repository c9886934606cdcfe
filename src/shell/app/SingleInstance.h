#pragma once

#include <QObject>
#include <QString>
#include <QStringList>

class QLocalServer;

namespace folvane {

// One running application per user. The first process listens on a local
// socket; a later one hands it its request (the files to open, or just the
// welcome window) and exits. A socket left by a process that died is removed
// when the next one starts.
class SingleInstance final : public QObject {
    Q_OBJECT
  public:
    // The user's socket: in $XDG_RUNTIME_DIR, else in the temporary folder.
    static QString defaultSocketPath();

    explicit SingleInstance(QString socketPath, QObject* parent = nullptr);
    ~SingleInstance() override;

    // Gives these absolute file paths (none: show the welcome window) to the
    // running instance. False when none is running or it did not answer.
    bool handOver(const QStringList& paths) const;
    // Asks the running instance to open the PDF of the browser in front (the
    // global shortcut's action, for `folvane --activate`).
    bool handOverActivation() const;

    // Becomes the running instance; false when the socket cannot be made.
    bool listen();

  signals:
    void welcomeRequested();
    void filesRequested(const QStringList& paths);
    void activationRequested();

  private:
    bool send(quint32 magic, const QStringList& paths) const;
    void accept();

    QString socketPath_;
    QLocalServer* server_ = nullptr;
};

}  // namespace folvane
