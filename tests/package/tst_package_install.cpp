// The package unpacked into a scratch root as dpkg installs it: the programs run from there,
// the desktop entry's program and icon are where it says, and bash completes quorvane-cli.
// quorvane-cli prints a panel sheet from there without a display.
#include "package_support.h"
#include "pdf_text.h"
#include "project_info.h"

#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace quorvane;
using namespace quorvane::test;

namespace {

const QString id = desktopId.toString();

} // namespace

class TestPackageInstall : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(m_root.isValid(), qPrintable(m_root.errorString()));
        const QString problem = unpackPackage(m_root.path());
        QVERIFY2(problem.isEmpty(), qPrintable(problem));
    }

    void commandLineToolReportsItsVersion()
    {
        const ProgramRun run = runProgram(bin(u"quorvane-cli"_s), {u"--version"_s});
        QVERIFY2(run.succeeded(), run.report());
        QCOMPARE(run.output, u"quorvane-cli "_s + projectVersion + u'\n');
        QCOMPARE(run.errors, QString());
    }

    void applicationReportsItsVersionWithoutADisplay()
    {
        QProcessEnvironment noDisplay = QProcessEnvironment::systemEnvironment();
        for (const QString& name : {u"DISPLAY"_s, u"WAYLAND_DISPLAY"_s, u"QT_QPA_PLATFORM"_s})
            noDisplay.remove(name);
        const ProgramRun run = runProgram(bin(u"quorvane"_s), {u"--version"_s}, noDisplay);
        QVERIFY2(run.succeeded(), run.report());
        QCOMPARE(run.output, u"quorvane "_s + projectVersion + u'\n');
    }

    void commandLineToolPrintsASheetWithoutADisplay()
    {
        const QString show = m_root.filePath(u"studio-a.json"_s);
        QFile file(show);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(R"({ "format": "quorvane-show", "version": 1,
  "frame": { "name": "K-Frame XP", "version": "V12.3.1", "address": "10.1.2.3" },
  "suite": 1, "buttonCount": 35,
  "buttons": [ { "bus": "PGM", "shift": 1, "button": 1, "source": 7, "name": "CAM 7" } ] })");
        file.close();
        QProcessEnvironment noDisplay = QProcessEnvironment::systemEnvironment();
        for (const QString& name : {u"DISPLAY"_s, u"WAYLAND_DISPLAY"_s, u"QT_QPA_PLATFORM"_s})
            noDisplay.remove(name);
        const ProgramRun run =
            runProgram(bin(u"quorvane-cli"_s), {u"sheet"_s, show, u"--quiet"_s}, noDisplay);
        QVERIFY2(run.succeeded(), run.report());
        QCOMPARE(pdfPageCount(m_root.filePath(u"studio-a.pdf"_s)), 1);
    }

    void desktopEntryFindsItsProgramAndIcon()
    {
        QSettings entry(m_root.filePath(u"usr/share/applications/"_s + id + u".desktop"_s),
                        QSettings::IniFormat);
        entry.beginGroup(u"Desktop Entry"_s);
        const QString exec = entry.value(u"Exec"_s).toString();
        const QString icon = entry.value(u"Icon"_s).toString();
        QCOMPARE(exec.split(u' ').first(), u"quorvane"_s);
        QVERIFY(QFileInfo(bin(exec.split(u' ').first())).isExecutable());
        // An icon theme looks the name up by size; the scalable one serves every other size.
        QCOMPARE(icon, id);
        const QString hicolor = m_root.filePath(u"usr/share/icons/hicolor/"_s);
        QVERIFY(QFileInfo::exists(hicolor + u"scalable/apps/"_s + icon + u".svg"_s));
        for (int size : {16, 32, 48, 64, 128, 256})
            QVERIFY(QFileInfo::exists(hicolor + u"%1x%1/apps/"_s.arg(size) + icon + u".png"_s));
        // The metadata launches this very entry.
        QFile metadata(m_root.filePath(u"usr/share/metainfo/"_s + id + u".metainfo.xml"_s));
        QVERIFY(metadata.open(QIODevice::ReadOnly));
        QVERIFY(
            QString::fromUtf8(metadata.readAll())
                .contains(u"<launchable type=\"desktop-id\">"_s + id + u".desktop</launchable>"_s));
    }

    void bashCompletesTheCommandLine_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<QStringList>("completions");
        QTest::newRow("commands") << u"quorvane-cli d"_s << QStringList{u"diff"_s, u"dump"_s};
        QTest::newRow("options from --help")
            << u"quorvane-cli dump --ti"_s << QStringList{u"--timeout"_s};
        QTest::newRow("the new option") << u"quorvane-cli --vers"_s << QStringList{u"--version"_s};
        QTest::newRow("buses") << u"quorvane-cli dump --bus M"_s
                               << QStringList{u"ME1"_s, u"ME2"_s, u"ME3"_s, u"ME4"_s};
        QTest::newRow("widths") << u"quorvane-cli dump --buttons 2"_s
                                << QStringList{u"20"_s, u"25"_s};
        QTest::newRow("formats") << u"quorvane-cli dump --format "_s
                                 << QStringList{u"csv"_s, u"json"_s};
        QTest::newRow("sheet formats")
            << u"quorvane-cli sheet show.json --format "_s << QStringList{u"pdf"_s, u"png"_s};
    }

    void bashCompletesTheCommandLine()
    {
        QFETCH(QString, line);
        QFETCH(QStringList, completions);
        // As an interactive bash with bash-completion would call it; the installed program
        // answers --help.
        const QString script = uR"(source /usr/share/bash-completion/bash_completion
source "$ROOT/usr/share/bash-completion/completions/quorvane-cli"
PATH="$ROOT/usr/bin:$PATH"
COMP_LINE=$LINE
COMP_POINT=${#COMP_LINE}
read -ra COMP_WORDS <<<"$LINE"
[[ $LINE == *' ' ]] && COMP_WORDS+=('')
COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
_quorvane_cli quorvane-cli "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}"
printf '%s\n' "${COMPREPLY[@]}" | sort)"_s;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"ROOT"_s, m_root.path());
        environment.insert(u"LINE"_s, line);
        const ProgramRun run = runProgram(u"bash"_s, {u"-c"_s, script}, environment);
        QVERIFY2(run.succeeded(), run.report());
        QCOMPARE(run.output.split(u'\n', Qt::SkipEmptyParts), completions);
    }

private:
    QString bin(const QString& program) const { return m_root.filePath(u"usr/bin/"_s + program); }

    QTemporaryDir m_root;
};

QTEST_MAIN(TestPackageInstall)
#include "tst_package_install.moc"
