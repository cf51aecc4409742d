#pragma once

#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

namespace quorvane::test {

// What a finished program printed and how it ended; `failure` says why it did not finish.
struct ProgramRun {
    int exitCode = -1;
    QString output;
    QString errors;
    QString failure;

    bool succeeded() const { return failure.isEmpty() && exitCode == 0; }
    // For a failed check: everything the program said.
    QByteArray report() const;
};

ProgramRun
runProgram(const QString& program, const QStringList& arguments,
           const QProcessEnvironment& environment = QProcessEnvironment::systemEnvironment());

// The .deb that cpack built from this build tree for this machine's architecture.
QString debianPackagePath();

// Unpacks the package into `root` as dpkg would install it; empty on success, else the reason.
QString unpackPackage(const QString& root);

} // namespace quorvane::test
