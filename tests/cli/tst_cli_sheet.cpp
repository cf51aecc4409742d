// quorvane-cli sheet: a show file printed as a panel sheet without any frame. Where the sheet
// goes, which buses it prints, how a file that cannot be used is refused (as diff refuses it),
// and that an earlier sheet survives a sheet that cannot be written.
#include "cli.h"
#include "cli_runner.h"
#include "model/show_file.h"
#include "pdf_text.h"
#include "sheet_geometry.h"

#include <QDate>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QTemporaryDir>
#include <algorithm>
#include <sys/stat.h>

using namespace Qt::StringLiterals;
using namespace quorvane;
using namespace quorvane::test;

namespace {

QByteArray contents(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(unreadable)");
}

void save(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("cannot write %s", qPrintable(path));
}

ShowFile showFile()
{
    ShowFile file;
    file.frameName = u"K-Frame XP"_s;
    file.frameVersion = u"V12.3.1"_s;
    file.frameAddress = u"10.1.2.3"_s;
    file.suite = 2;
    file.buttonCount = 20;
    file.buttons = {{Bus::me1, 1, 1, 1, u"CAM 1"_s},
                    {Bus::me1, 4, 20, 31, u"EVS 1A PGM"_s},
                    {Bus::pgm, 2, 7, 702, u"Colour Bars 100%"_s},
                    {Bus::aux, 3, 12, 65535, u"Last source"_s}};
    return file;
}

// The words of the header, the cells and the footer of every page of the sheet at `path`.
struct ReadSheet {
    QList<QStringList> headers;
    QList<QStringList> footers;
    QList<PdfPage> pages;
};

ReadSheet readSheet(const QString& path, SheetPaper paper, int buttonCount)
{
    const SheetGeometry geometry = sheetGeometry(paper, buttonCount);
    ReadSheet sheet;
    sheet.pages = pdfPages(path);
    for (const PdfPage& page : sheet.pages) {
        sheet.headers.append(page.wordsIn(geometry.header));
        sheet.footers.append(page.wordsIn(geometry.footer));
    }
    return sheet;
}

// The header's value under `label`: the words that start where the label starts, below it.
QString factValue(const PdfPage& page, const QString& label)
{
    const auto found = std::find_if(page.words.begin(), page.words.end(),
                                    [&label](const PdfWord& word) { return word.text == label; });
    if (found == page.words.end())
        return u"(no "_s + label + u')';
    const QRectF labelBox = found->box;
    for (const PdfWord& word : page.words) {
        if (qAbs(word.box.left() - labelBox.left()) < 0.5 && word.box.top() > labelBox.bottom() &&
            word.box.top() < labelBox.bottom() + 10) {
            return word.text;
        }
    }
    return u"(nothing under "_s + label + u')';
}

QString today()
{
    return QDate::currentDate().toString(Qt::ISODate);
}

} // namespace

class TestCliSheet : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_dir;

    QString pathOf(const QString& name) const { return m_dir.filePath(name); }

    QString savedShow(const QString& name, const ShowFile& file = showFile())
    {
        const QString path = pathOf(name);
        save(path, writeShowJson(file));
        return path;
    }

private Q_SLOTS:
    void init()
    {
        QDir dir(m_dir.path());
        for (const QString& name : dir.entryList(QDir::Files | QDir::System | QDir::Dirs | QDir::NoDotAndDotDot))
            QVERIFY(QFileInfo(dir.filePath(name)).isDir()
                        ? QDir(dir.filePath(name)).removeRecursively()
                        : dir.remove(name));
    }

    void aPdfBesideTheFileByDefault()
    {
        const QString show = savedShow(u"studio-a.json"_s);
        const QString before = today();
        const ToolRun run = runTool({u"sheet"_s, show});
        QCOMPARE(run.status, 0);
        QCOMPARE(run.out, QString());
        const QString sheet = pathOf(u"studio-a.pdf"_s);
        QCOMPARE(run.errLines(),
                 QStringList(u"Wrote "_s + sheet + u": 3 pages (ME1, PGM, AUX), A4 landscape"_s));

        QCOMPARE(pdfPageCount(sheet), 3);
        const ReadSheet read = readSheet(sheet, SheetPaper::a4, 20);
        QCOMPARE(read.pages.size(), 3);
        const QStringList buses{u"ME1"_s, u"PGM"_s, u"AUX"_s};
        for (int page = 0; page < 3; ++page) {
            const QStringList& header = read.headers[page];
            QVERIFY2(header.contains(buses[page]), qPrintable(header.join(u' ')));
            for (const QString& word : {u"K-Frame"_s, u"V12.3.1"_s, u"10.1.2.3"_s, u"20"_s})
                QVERIFY2(header.contains(word), qPrintable(header.join(u' ')));
            QVERIFY(header.contains(before) || header.contains(today()));
            const QStringList& footer = read.footers[page];
            QVERIFY2(footer.contains(u"studio-a.json"_s), qPrintable(footer.join(u' ')));
            QVERIFY2(footer.contains(QString::number(page + 1)), qPrintable(footer.join(u' ')));
        }
        const SheetGeometry geometry = sheetGeometry(SheetPaper::a4, 20);
        QCOMPARE(read.pages[0].wordsIn(geometry.cell(4, 20)),
                 QStringList({u"1A"_s, u"20"_s, u"31"_s, u"EVS"_s, u"PGM"_s}));
        QCOMPARE(read.pages[2].wordsIn(geometry.cell(3, 12)),
                 QStringList({u"12"_s, u"65535"_s, u"Last"_s, u"source"_s}));
    }

    void namedBusesArePrintedAndNoOthers()
    {
        const QString show = savedShow(u"show.json"_s);
        const QString sheet = pathOf(u"two.pdf"_s);
        const ToolRun run = runTool({u"sheet"_s, show, u"--bus"_s, u"pgm"_s, u"--bus"_s, u"me2"_s,
                                     u"-o"_s, sheet, u"--page"_s, u"letter"_s});
        QCOMPARE(run.status, 0);
        QCOMPARE(run.errLines(),
                 QStringList(u"Wrote "_s + sheet + u": 2 pages (ME2, PGM), Letter landscape"_s));
        const ReadSheet read = readSheet(sheet, SheetPaper::letter, 20);
        QCOMPARE(read.pages.size(), 2);
        QCOMPARE(qRound(read.pages[0].size.width()), 792);
        QCOMPARE(qRound(read.pages[0].size.height()), 612);
        QVERIFY(read.headers[0].contains(u"ME2"_s));
        QVERIFY(read.headers[1].contains(u"PGM"_s));
        // ME2: nothing assigned.
        const SheetGeometry geometry = sheetGeometry(SheetPaper::letter, 20);
        QCOMPARE(read.pages[0].wordsIn(geometry.cell(2, 7)), QStringList({u"7"_s, u"—"_s}));
        QCOMPARE(read.pages[1].wordsIn(geometry.cell(2, 7)),
                 QStringList({u"100%"_s, u"7"_s, u"702"_s, u"Bars"_s, u"Colour"_s}));
    }

    void imagesOnePerBus_data()
    {
        QTest::addColumn<QStringList>("options");
        QTest::addColumn<QStringList>("images");
        QTest::addColumn<QSize>("size");
        QTest::newRow("--format png: beside the file")
            << QStringList{u"--format"_s, u"png"_s}
            << QStringList{u"show-ME1.png"_s, u"show-PGM.png"_s, u"show-AUX.png"_s}
            << QSize(1754, 1240);
        QTest::newRow("-o NAME.png")
            << QStringList{u"-o"_s, u"@/panel.png"_s, u"--page"_s, u"LETTER"_s}
            << QStringList{u"panel-ME1.png"_s, u"panel-PGM.png"_s, u"panel-AUX.png"_s}
            << QSize(1650, 1275);
        QTest::newRow("-o NAME --format png")
            << QStringList{u"-o"_s, u"@/panel"_s, u"--format"_s, u"PNG"_s, u"--bus"_s, u"aux"_s}
            << QStringList{u"panel-AUX.png"_s} << QSize(1754, 1240);
    }

    void imagesOnePerBus()
    {
        QFETCH(QStringList, options);
        QFETCH(QStringList, images);
        QFETCH(QSize, size);
        const QString show = savedShow(u"show.json"_s);
        options.replaceInStrings(u"@"_s, m_dir.path());
        const ToolRun run = runTool(QStringList{u"sheet"_s, show} + options);
        QCOMPARE(run.status, 0);
        QStringList written;
        for (const QString& image : images)
            written.append(pathOf(image));
        QVERIFY2(run.err.startsWith(u"Wrote "_s + written.join(u", "_s) + u": "_s),
                 qPrintable(run.err));
        QStringList files = images + QStringList(u"show.json"_s);
        files.sort();
        QCOMPARE(QDir(m_dir.path()).entryList(QDir::Files), files);
        for (const QString& image : written)
            QCOMPARE(QImage(image).size(), size);
    }

    void aCsvFileTakesItsWidthAndSuiteFromTheCommandLine()
    {
        const QString show = pathOf(u"show.csv"_s);
        save(show, writeShowCsv(showFile()));
        const ToolRun run =
            runTool({u"sheet"_s, show, u"--buttons"_s, u"20"_s, u"--suite"_s, u"3"_s});
        QCOMPARE(run.status, 0);
        const ReadSheet read = readSheet(pathOf(u"show.pdf"_s), SheetPaper::a4, 20);
        QCOMPARE(read.pages.size(), 3);
        const QStringList& header = read.headers[0];
        // A CSV file does not record the frame, its version or its address.
        QCOMPARE(header.count(u"recorded"_s), 3);
        const SheetGeometry geometry = sheetGeometry(SheetPaper::a4, 20);
        QCOMPARE(read.pages[0].wordsIn(geometry.cell(4, 20)),
                 QStringList({u"1A"_s, u"20"_s, u"31"_s, u"EVS"_s, u"PGM"_s}));
        QCOMPARE(factValue(read.pages[0], u"Suite"_s), u"3"_s);
        QCOMPARE(factValue(read.pages[0], u"Frame"_s), u"not"_s);
    }

    void aJsonFileIsPrintedAtItsOwnWidthOnly()
    {
        const QString show = savedShow(u"show.json"_s);
        const ToolRun run = runTool({u"sheet"_s, show, u"--buttons"_s, u"35"_s});
        QCOMPARE(run.status, 2);
        QCOMPARE(run.errLines(),
                 QStringList(u"quorvane-cli: "_s + show +
                             u" was read from a 20-button panel; it cannot be printed at "
                             u"--buttons 35"_s));
        QVERIFY(!QFile::exists(pathOf(u"show.pdf"_s)));
    }

    void anInvalidFileIsRefusedAsDiffRefusesIt()
    {
        const QString show = pathOf(u"show.json"_s);
        QByteArray json = writeShowJson(showFile());
        json.replace("\"shift\": 4", "\"shift\": 5");
        save(show, json);
        const QString sheet = pathOf(u"show.pdf"_s);
        save(sheet, "an earlier sheet");

        const ToolRun run = runTool({u"sheet"_s, show});
        QCOMPARE(run.status, 2);
        QCOMPARE(run.out, QString());
        QCOMPARE(run.errLines().size(), 1);
        QVERIFY2(run.err.contains(u"shift 5 is outside 1-4"_s), qPrintable(run.err));
        // The file is refused before anything else happens, diff's line word for word (diff
        // never gets as far as the frame).
        const ToolRun diff = runTool({u"diff"_s, show, u"--host"_s, u"127.0.0.1"_s});
        QCOMPARE(diff.status, 2);
        QCOMPARE(run.err, diff.err);
        QCOMPARE(contents(sheet), QByteArray("an earlier sheet"));

        const ToolRun missing = runTool({u"sheet"_s, pathOf(u"none.json"_s)});
        QCOMPARE(missing.status, 2);
        QCOMPARE(missing.errLines(),
                 QStringList(u"quorvane-cli: cannot read "_s + pathOf(u"none.json"_s) +
                             u": No such file or directory"_s));
    }

    // Opening a named pipe would wait for a writer that never comes, deaf to Ctrl+C.
    void aNamedPipeIsRefusedAtOnce()
    {
        const QString pipe = pathOf(u"pipe.json"_s);
        QCOMPARE(mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
        const QString refusal =
            u"quorvane-cli: cannot read "_s + pipe + u": it is a named pipe, not a regular file\n"_s;

        const ToolRun sheet = runTool({u"sheet"_s, pipe});
        QCOMPARE(sheet.status, 2);
        QCOMPARE(sheet.err, refusal);
        const ToolRun diff = runTool({u"diff"_s, pipe, savedShow(u"other.json"_s)});
        QCOMPARE(diff.status, 2);
        QCOMPARE(diff.err, refusal);
        QVERIFY(!QFile::exists(pathOf(u"pipe.pdf"_s)));
    }

    // QJsonDocument would read "CAM\q1" as "CAMq1": the file's own check refuses it first.
    void anEscapeJsonDoesNotHaveIsRefused()
    {
        const QString show = pathOf(u"show.json"_s);
        save(show, writeShowJson(showFile()).replace("CAM 1", "CAM\\q1"));
        const ToolRun run = runTool({u"sheet"_s, show});
        QCOMPARE(run.status, 2);
        QCOMPARE(run.err, u"quorvane-cli: "_s + show +
                              u" is not a valid JSON show file: line 8: not valid JSON: a string "
                              u"holds the escape \\q, which JSON does not know (a backslash is "
                              u"written \\\\)\n"_s);
        QVERIFY(!QFile::exists(pathOf(u"show.pdf"_s)));
    }

    // Only what a cell can show is laid out: a name of a million characters prints as fast as a
    // short one (laying all of it out took over a minute), cut with "…".
    void aNameOfAMillionCharactersPrintsAtOnce()
    {
        ShowFile file = showFile();
        file.buttons[0].name = QString(1'000'000, u'W');
        const QString show = savedShow(u"long.json"_s, file);
        QElapsedTimer took;
        took.start();
        const ToolRun run = runTool({u"sheet"_s, show, u"--bus"_s, u"ME1"_s});
        QCOMPARE(run.status, 0);
        QVERIFY2(took.elapsed() < 10'000, qPrintable(QString::number(took.elapsed())));
        const ReadSheet read = readSheet(pathOf(u"long.pdf"_s), SheetPaper::a4, 20);
        const QString text = read.pages.first().text();
        QVERIFY2(text.contains(u"WWW…"_s), qPrintable(text.left(2000)));
    }

    void aFileWithoutButtonsNeedsTheBusesNamed()
    {
        ShowFile empty = showFile();
        empty.buttons.clear();
        const QString show = savedShow(u"empty.json"_s, empty);
        const ToolRun refused = runTool({u"sheet"_s, show});
        QCOMPARE(refused.status, 2);
        QCOMPARE(refused.errLines(),
                 QStringList(u"quorvane-cli: "_s + show +
                             u" lists no buttons: name the buses to print with --bus (every "
                             u"button on them then prints as unassigned)"_s));
        QVERIFY(!QFile::exists(pathOf(u"empty.pdf"_s)));

        const ToolRun named = runTool({u"sheet"_s, show, u"--bus"_s, u"ME3"_s});
        QCOMPARE(named.status, 0);
        QCOMPARE(pdfPageCount(pathOf(u"empty.pdf"_s)), 1);
    }

    void theSheetNeverReplacesItsShowFile()
    {
        const QString show = savedShow(u"show.json"_s);
        const QByteArray before = contents(show);
        const ToolRun run = runTool({u"sheet"_s, show, u"-o"_s, show});
        QCOMPARE(run.status, 2);
        QCOMPARE(run.errLines(), QStringList(u"quorvane-cli: the sheet would replace "_s + show +
                                             u" itself; choose another name with -o"_s));
        QCOMPARE(contents(show), before);
    }

    void anEarlierSheetStaysWholeWhenTheNewOneCannotBeWritten()
    {
        const QString show = savedShow(u"show.json"_s);
        save(pathOf(u"show-ME1.png"_s), "last week's ME1");
        QVERIFY(QDir(m_dir.path()).mkdir(u"show-PGM.png"_s));
        const ToolRun run = runTool({u"sheet"_s, show, u"--format"_s, u"png"_s});
        QCOMPARE(run.status, 2);
        QCOMPARE(run.errLines().size(), 1);
        QVERIFY2(run.err.startsWith(u"quorvane-cli: cannot write "_s + pathOf(u"show-PGM.png"_s) +
                                    u": "_s),
                 qPrintable(run.err));
        QVERIFY(run.err.endsWith(u"; choose another place with -o\n"_s));
        QCOMPARE(contents(pathOf(u"show-ME1.png"_s)), QByteArray("last week's ME1"));
        QCOMPARE(QDir(m_dir.path()).entryList(QDir::Files),
                 QStringList({u"show-ME1.png"_s, u"show.json"_s}));
    }

    void usageErrors_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("error");
        QTest::newRow("no file") << QStringList{u"sheet"_s}
                                 << u"sheet needs a show file: quorvane-cli sheet FILE"_s;
        QTest::newRow("two files") << QStringList{u"sheet"_s, u"a.json"_s, u"b.json"_s}
                                   << u"sheet takes one show file, got 2"_s;
        QTest::newRow("a frame")
            << QStringList{u"sheet"_s, u"a.json"_s, u"--host"_s, u"10.0.0.7"_s}
            << u"--host does not apply to sheet: it prints FILE and contacts no frame"_s;
        QTest::newRow("a show file format")
            << QStringList{u"sheet"_s, u"a.json"_s, u"--format"_s, u"json"_s}
            << u"--format \"json\" is not a sheet format: use pdf or png"_s;
        QTest::newRow("a paper size") << QStringList{u"sheet"_s, u"a.json"_s, u"--page"_s, u"a3"_s}
                                      << u"--page \"a3\" is not a paper size: use a4 or letter"_s;
        QTest::newRow("--page elsewhere")
            << QStringList{u"dump"_s, u"--host"_s, u"10.0.0.7"_s, u"--page"_s, u"a4"_s}
            << u"--page belongs to sheet"_s;
        QTest::newRow("--dry-run") << QStringList{u"sheet"_s, u"a.json"_s, u"--dry-run"_s}
                                   << u"--dry-run does not apply to sheet"_s;
        QTest::newRow("--listed-only") << QStringList{u"sheet"_s, u"a.json"_s, u"--listed-only"_s}
                                       << u"--listed-only does not apply to sheet"_s;
        QTest::newRow("-o without a name")
            << QStringList{u"sheet"_s, u"a.json"_s, u"-o="_s} << u"-o/--output needs a file name"_s;
    }

    void usageErrors()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, error);
        const ToolRun run = runTool(arguments);
        QCOMPARE(run.status, 2);
        QCOMPARE(run.out, QString());
        QCOMPARE(run.errLines(), QStringList(u"quorvane-cli: "_s + error));
    }

    void onlyASheetPaints()
    {
        QVERIFY(cli::paintsPages({u"sheet"_s, u"show.json"_s}));
        QVERIFY(!cli::paintsPages({u"dump"_s, u"--host"_s, u"10.0.0.7"_s}));
        QVERIFY(!cli::paintsPages({u"diff"_s, u"show.json"_s, u"--host"_s, u"10.0.0.7"_s}));
        QVERIFY(!cli::paintsPages({u"sheet"_s})); // a usage error: nothing to paint
        QVERIFY(!cli::paintsPages({u"--help"_s}));
    }

    void helpNamesTheCommand()
    {
        const ToolRun run = runTool({u"--help"_s});
        QCOMPARE(run.status, 0);
        QVERIFY(run.out.contains(u"\n  sheet FILE   "_s));
        QVERIFY(run.out.contains(u"--page a4|letter"_s));
    }

    void theProgramPrintsWithoutADisplay()
    {
        const QString show = savedShow(u"show.json"_s);
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.remove(u"DISPLAY"_s);
        environment.remove(u"WAYLAND_DISPLAY"_s);
        // Even a platform that needs a display is not used: a sheet is painted offscreen.
        environment.insert(u"QT_QPA_PLATFORM"_s, u"xcb"_s);
        QProcess tool;
        tool.setProcessEnvironment(environment);
        tool.start(QStringLiteral(QUORVANE_CLI_PATH), {u"sheet"_s, show, u"--quiet"_s});
        QVERIFY(tool.waitForFinished(60'000));
        QCOMPARE(tool.exitStatus(), QProcess::NormalExit);
        QCOMPARE(tool.exitCode(), 0);
        QCOMPARE(tool.readAllStandardOutput(), QByteArray());
        QCOMPARE(pdfPageCount(pathOf(u"show.pdf"_s)), 3);
    }
};

QTEST_MAIN(TestCliSheet)
#include "tst_cli_sheet.moc"
