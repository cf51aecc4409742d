// The Debian package as built by cpack: exactly the two programs and their data files, the
// library packages it needs, a desktop entry and metadata that the validators accept, icons of
// every size, and manual pages that describe every option the programs know.
#include "package_support.h"
#include "project_info.h"

#include <QImageReader>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace quorvane;
using namespace quorvane::test;

namespace {

const QString id = desktopId.toString();
const QList<int> iconSizes{16, 32, 48, 64, 128, 256};

QString iconPath(int size)
{
    const QString folder = size == 0 ? u"scalable"_s : u"%1x%1"_s.arg(size);
    return u"/usr/share/icons/hicolor/"_s + folder + u"/apps/"_s + id +
           (size == 0 ? u".svg"_s : u".png"_s);
}

// The text of a gzip-compressed manual page, with roff's escaped minus signs made plain.
QString manualPage(const QString& path)
{
    const ProgramRun unzip = runProgram(u"gzip"_s, {u"-dc"_s, path});
    return QString(unzip.output).replace(u"\\-"_s, u"-"_s);
}

} // namespace

class TestPackageContents : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(m_root.isValid(), qPrintable(m_root.errorString()));
        const QString problem = unpackPackage(m_root.path());
        QVERIFY2(problem.isEmpty(), qPrintable(problem));
    }

    void holdsTheProgramsAndTheirDataOnly()
    {
        const ProgramRun listing =
            runProgram(u"dpkg-deb"_s, {u"--contents"_s, debianPackagePath()});
        QVERIFY2(listing.succeeded(), listing.report());
        QStringList files;
        QStringList programs;
        for (const QString& line : listing.output.split(u'\n', Qt::SkipEmptyParts)) {
            // "-rwxr-xr-x root/root 123 2024-01-01 00:00 ./usr/bin/quorvane"
            const QStringList fields = line.split(u' ', Qt::SkipEmptyParts);
            if (!fields.first().startsWith(u'-'))
                continue; // a directory
            const QString path = fields.last().mid(1);
            files.append(path);
            if (fields.first() == u"-rwxr-xr-x")
                programs.append(path);
        }
        QStringList expected{u"/usr/bin/quorvane"_s,
                             u"/usr/bin/quorvane-cli"_s,
                             u"/usr/share/applications/"_s + id + u".desktop"_s,
                             u"/usr/share/metainfo/"_s + id + u".metainfo.xml"_s,
                             u"/usr/share/man/man1/quorvane.1.gz"_s,
                             u"/usr/share/man/man1/quorvane-cli.1.gz"_s,
                             u"/usr/share/bash-completion/completions/quorvane-cli"_s,
                             iconPath(0)};
        for (int size : iconSizes)
            expected.append(iconPath(size));
        files.sort();
        expected.sort();
        QCOMPARE(files, expected);
        QCOMPARE(programs, QStringList({u"/usr/bin/quorvane"_s, u"/usr/bin/quorvane-cli"_s}));
    }

    void declaresWhatItLinksAgainst()
    {
        const ProgramRun fields =
            runProgram(u"dpkg-deb"_s, {u"--field"_s, debianPackagePath(), u"Package"_s,
                                       u"Version"_s, u"Depends"_s, u"Section"_s});
        QVERIFY2(fields.succeeded(), fields.report());
        QVERIFY2(fields.output.contains(u"Package: quorvane\n"_s), fields.report());
        QVERIFY2(fields.output.contains(u"Version: "_s + projectVersion + u'\n'), fields.report());
        QVERIFY2(fields.output.contains(u"Section: video\n"_s), fields.report());
        // Found by dpkg-shlibdeps in the programs themselves, with minimum versions.
        for (const QString& library :
             {u"libc6 (>="_s, u"libstdc++6 (>="_s, u"libqt6core6 (>="_s, u"libqt6gui6 (>="_s,
              u"libqt6widgets6 (>="_s, u"libqt6network6 (>="_s, u"libqcoro6core0 (>="_s}) {
            QVERIFY2(fields.output.contains(library), qPrintable(library + u'\n' + fields.output));
        }
    }

    void desktopEntryIsValid()
    {
        const QString entry = m_root.filePath(u"usr/share/applications/"_s + id + u".desktop"_s);
        const ProgramRun validation = runProgram(u"desktop-file-validate"_s, {entry});
        QVERIFY2(validation.succeeded(), validation.report());
        // Not even a hint.
        QVERIFY2(validation.output.isEmpty() && validation.errors.isEmpty(), validation.report());
    }

    void metadataIsValid()
    {
        const QString metadata =
            m_root.filePath(u"usr/share/metainfo/"_s + id + u".metainfo.xml"_s);
        const ProgramRun validation =
            runProgram(u"appstreamcli"_s, {u"validate"_s, u"--no-net"_s, metadata});
        QVERIFY2(validation.succeeded(), validation.report());
        // Only pedantic remarks, no error, warning or information.
        QVERIFY2(!validation.output.contains(
                     QRegularExpression(u"^[EWI]: "_s, QRegularExpression::MultilineOption)),
                 validation.report());
    }

    void iconsHaveTheirSizes()
    {
        for (int size : iconSizes) {
            QImageReader reader(m_root.filePath(iconPath(size).mid(1)));
            QCOMPARE(reader.format(), QByteArray("png"));
            QCOMPARE(reader.size(), QSize(size, size));
        }
        QFile svg(m_root.filePath(iconPath(0).mid(1)));
        QVERIFY(svg.open(QIODevice::ReadOnly));
        QVERIFY(svg.readAll().contains("<svg"));
    }

    void manualPagesDescribeEveryOption_data()
    {
        QTest::addColumn<QString>("program");
        QTest::newRow("quorvane") << u"quorvane"_s;
        QTest::newRow("quorvane-cli") << u"quorvane-cli"_s;
    }

    void manualPagesDescribeEveryOption()
    {
        QFETCH(QString, program);
        const QString page =
            manualPage(m_root.filePath(u"usr/share/man/man1/"_s + program + u".1.gz"_s));
        QVERIFY2(page.contains(u".TH "_s + program.toUpper() + u" \"1\""_s), qPrintable(page));
        QVERIFY2(page.contains(u".SH NAME\n"_s + program + u" - "_s), qPrintable(page));
        QVERIFY2(page.contains(u".SH SYNOPSIS\n.B "_s + program + u'\n'), qPrintable(page));
        // Every option the installed program names in its --help is in its manual page.
        const ProgramRun help = runProgram(m_root.filePath(u"usr/bin/"_s + program), {u"--help"_s});
        QVERIFY2(help.succeeded(), help.report());
        const QRegularExpression option(u"(?<![\\w-])--[a-z][a-z-]+"_s);
        int options = 0;
        for (const QRegularExpressionMatch& match : option.globalMatch(help.output)) {
            QVERIFY2(page.contains(match.captured()), qPrintable(match.captured()));
            ++options;
        }
        QVERIFY(options >= 5);
    }

private:
    QTemporaryDir m_root;
};

QTEST_MAIN(TestPackageContents)
#include "tst_package_contents.moc"
