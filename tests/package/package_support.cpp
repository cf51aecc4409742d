#include "package_support.h"

#include "project_info.h"

#include <QProcess>

using namespace Qt::StringLiterals;

namespace quorvane::test {

QByteArray ProgramRun::report() const
{
    return (u"exit code "_s + QString::number(exitCode) + u' ' + failure + u"\n"_s + output +
            errors)
        .toUtf8();
}

ProgramRun runProgram(const QString& program, const QStringList& arguments,
                      const QProcessEnvironment& environment)
{
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(program, arguments);
    ProgramRun run;
    if (!process.waitForFinished(240'000)) {
        run.failure = program + u" did not finish: "_s + process.errorString();
        process.kill();
        process.waitForFinished();
        return run;
    }
    if (process.exitStatus() != QProcess::NormalExit)
        run.failure = program + u" crashed"_s;
    run.exitCode = process.exitCode();
    run.output = QString::fromUtf8(process.readAllStandardOutput());
    run.errors = QString::fromUtf8(process.readAllStandardError());
    return run;
}

QString debianPackagePath()
{
    const QString architecture =
        runProgram(u"dpkg"_s, {u"--print-architecture"_s}).output.trimmed();
    return QString::fromUtf8(QUORVANE_PACKAGE_DIR) + u"/quorvane_"_s + projectVersion + u'_' +
           architecture + u".deb"_s;
}

QString unpackPackage(const QString& root)
{
    const ProgramRun unpack = runProgram(u"dpkg"_s, {u"-x"_s, debianPackagePath(), root});
    return unpack.succeeded() ? QString() : QString::fromUtf8(unpack.report());
}

} // namespace quorvane::test
