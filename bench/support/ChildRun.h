#pragma once

#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

namespace folvane::bench {

// A program of the build started as a child under the offscreen platform with
// a throwaway home, watched until it prints a line starting with `line`.
class ChildRun {
  public:
    ChildRun(const QString& program, const QStringList& arguments,
             const QProcessEnvironment& extra = {});
    ~ChildRun();

    // Milliseconds from the start to the line; -1 when it never came within
    // `timeoutMs` or the program ended first.
    double waitForLine(const QString& line, int timeoutMs = 60000);
    qint64 pid() const { return process_.processId(); }

  private:
    QProcess process_;
    QString home_;
    qint64 startedNs_ = 0;
};

// The directory the benchmark programs are in.
QString programDirectory();

}  // namespace folvane::bench
