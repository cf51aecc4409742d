// Panel sheets as a reader finds them: one page or image per bus, every button's number, source
// and whole name in its own cell, the header's facts and the footer's file name, on A4 and
// Letter at every panel width; and a set of files written whole or not at all.
#include "panel_sheet.h"
#include "pdf_text.h"
#include "sheet_content.h"
#include "sheet_geometry.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace quorvane;
using namespace quorvane::test;

namespace {

// Names as frames give them (at most 16 characters), with the longest words and the longest
// names, letters beyond ASCII and a control character that a hand-written file may hold.
const QStringList names{
    u"CAM 1"_s,       u"Remote 1 Stadium"_s, u"Pitch Right 18yd"_s, u"SPIDERCAM"_s,
    u"TOUCHSCREEN"_s, u"Commercials 1"_s,    u"EVS 3A SUPERMO"_s,   u"Kamera Süd"_s,
    u"Caméra 3"_s,    u"Colour Bars 100%"_s, u"Line\t1"_s,          u"R1B"_s,
    QString()};

const QDate printed(2025, 3, 9);

// A show file that lists buttons on ME1, PGM and AUX and leaves some of each unassigned; one
// button holds the largest source a file may hold.
ShowFile showFile(int buttonCount)
{
    ShowFile file;
    file.frameName = u"K-Frame XP"_s;
    file.frameVersion = u"V12.3.1"_s;
    file.frameAddress = u"10.1.2.3"_s;
    file.suite = 2;
    file.buttonCount = buttonCount;
    int next = 0;
    for (Bus bus : {Bus::me1, Bus::pgm, Bus::aux}) {
        for (int shift = 1; shift <= 4; ++shift) {
            for (int button = 1; button <= buttonCount; ++button) {
                ++next;
                if (next % 7 == 3)
                    continue;
                const qint64 source = next == 40 ? 65535 : 1 + (next * 37) % 1200;
                file.buttons.append(
                    ShowButton{bus, shift, button, source, names[next % names.size()]});
            }
        }
    }
    sortButtons(file.buttons);
    return file;
}

// The words a reader should find in the cell of `cell`, sorted.
QStringList expectedWords(const SheetCell& cell)
{
    QStringList words{QString::number(cell.button)};
    if (!cell.isAssigned()) {
        words.append(u"—"_s);
    } else {
        words.append(QString::number(cell.source));
        words += cell.name.split(u' ', Qt::SkipEmptyParts);
    }
    std::sort(words.begin(), words.end());
    return words;
}

QString paperName(SheetPaper paper)
{
    return paper == SheetPaper::letter ? u"Letter"_s : u"A4"_s;
}

} // namespace

class TestPanelSheet : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyButtonOnItsBussPage_data()
    {
        QTest::addColumn<int>("buttonCount");
        QTest::addColumn<SheetPaper>("paper");
        for (int count : {15, 20, 25, 35}) {
            for (SheetPaper paper : {SheetPaper::a4, SheetPaper::letter}) {
                QTest::addRow("%d buttons, %s", count, qPrintable(paperName(paper)))
                    << count << paper;
            }
        }
    }

    void everyButtonOnItsBussPage()
    {
        QFETCH(int, buttonCount);
        QFETCH(SheetPaper, paper);
        QTemporaryDir dir;
        const QString path = dir.filePath(u"sheet.pdf"_s);
        const ShowFile file = showFile(buttonCount);
        SheetOptions options;
        options.paper = paper;
        // ME2 is named but the file lists nothing on it: a page of unassigned buttons.
        options.buses = {Bus::aux, Bus::me1, Bus::me2, Bus::pgm};
        options.fileName = u"studio-a.json"_s;
        options.date = printed;

        const SheetExport exported = exportPanelSheet(file, path, options);
        QCOMPARE(exported.problem, QString());
        QCOMPARE(exported.written, QStringList(path));

        const QList<Bus> buses{Bus::me1, Bus::me2, Bus::pgm, Bus::aux};
        QCOMPARE(pdfPageCount(path), 4);
        const QList<PdfPage> pages = pdfPages(path);
        QCOMPARE(pages.size(), 4);
        const SheetGeometry geometry = sheetGeometry(paper, buttonCount);
        for (qsizetype index = 0; index < pages.size(); ++index) {
            const PdfPage& pdf = pages[index];
            const Bus bus = buses[index];
            // Landscape, at the paper's size.
            QCOMPARE(qRound(pdf.size.width()), qRound(geometry.page.width()));
            QCOMPARE(qRound(pdf.size.height()), qRound(geometry.page.height()));

            const SheetPage page = sheetPage(file, bus);
            const QStringList header = pdf.wordsIn(geometry.header);
            for (const QString& word :
                 {busName(bus), u"K-Frame"_s, u"XP"_s, u"V12.3.1"_s, u"10.1.2.3"_s, u"2"_s,
                  QString::number(buttonCount), u"2025-03-09"_s, QString::number(page.assigned),
                  QString::number(4 * buttonCount)}) {
                QVERIFY2(header.contains(word), qPrintable(word + u" in "_s + header.join(u' ')));
            }
            const QStringList footer = pdf.wordsIn(geometry.footer);
            for (const QString& word :
                 {u"studio-a.json"_s, u"Page"_s, QString::number(index + 1), u"4"_s}) {
                QVERIFY2(footer.contains(word), qPrintable(word + u" in "_s + footer.join(u' ')));
            }
            for (int shift = 1; shift <= 4; ++shift) {
                const QStringList label = pdf.wordsIn(geometry.shiftLabel(shift));
                QCOMPARE(label, QStringList({QString::number(shift), u"Shift"_s}));
            }

            for (const SheetCell& cell : page.cells) {
                const QStringList found = pdf.wordsIn(geometry.cell(cell.shift, cell.button));
                const QStringList expected = expectedWords(cell);
                QVERIFY2(found == expected,
                         qPrintable(busName(bus) + u" shift "_s + QString::number(cell.shift) +
                                    u" button "_s + QString::number(cell.button) + u": found "_s +
                                    found.join(u'|') + u", expected "_s + expected.join(u'|')));
            }
        }
        // The file's names are all there, the control character written as an escape.
        const QString text = pages[0].text();
        QVERIFY(text.contains(u"Süd"_s));
        QVERIFY(text.contains(u"Line\\t1"_s));
    }

    void withoutNamedBusesEveryListedBusGetsAPage()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(u"sheet.pdf"_s);
        SheetOptions options;
        options.fileName = u"show.json"_s;
        QVERIFY(exportPanelSheet(showFile(20), path, options).problem.isEmpty());
        const QList<PdfPage> pages = pdfPages(path);
        QCOMPARE(pages.size(), 3);
        const SheetGeometry geometry = sheetGeometry(SheetPaper::a4, 20);
        QVERIFY(pages[0].wordsIn(geometry.header).contains(u"ME1"_s));
        QVERIFY(pages[1].wordsIn(geometry.header).contains(u"PGM"_s));
        QVERIFY(pages[2].wordsIn(geometry.header).contains(u"AUX"_s));
    }

    void aLongFrameNameGivesWayInTheHeader()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(u"sheet.pdf"_s);
        ShowFile file = showFile(35);
        file.frameName = u"Studio A main switcher, north building, second floor, rack 7"_s;
        SheetOptions options;
        options.paper = SheetPaper::letter;
        options.date = printed;
        QVERIFY(exportPanelSheet(file, path, options).problem.isEmpty());
        const QList<PdfPage> pages = pdfPages(path);
        QCOMPARE(pages.size(), 3);
        const SheetGeometry geometry = sheetGeometry(SheetPaper::letter, 35);
        for (const PdfWord& word : pages[0].words) {
            if (word.box.top() < geometry.header.bottom())
                QVERIFY2(word.box.right() <= geometry.header.right(), qPrintable(word.text));
        }
        const QStringList header = pages[0].wordsIn(geometry.header);
        QVERIFY2(header.contains(u"Studio"_s), qPrintable(header.join(u' ')));
        QVERIFY2(!header.contains(u"7"_s), qPrintable(header.join(u' ')));
        QVERIFY2(header.join(u' ').contains(u"…"_s), qPrintable(header.join(u' ')));
        for (const QString& word : {u"V12.3.1"_s, u"10.1.2.3"_s, u"2025-03-09"_s})
            QVERIFY2(header.contains(word), qPrintable(header.join(u' ')));
    }

    void aFileWithoutButtonsAndNoBusNamedPrintsNothing()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(u"sheet.pdf"_s);
        const SheetExport exported = exportPanelSheet(ShowFile{}, path, SheetOptions{});
        QVERIFY(exported.written.isEmpty());
        QVERIFY(!exported.problem.isEmpty());
        QVERIFY(!QFile::exists(path));
    }

    void oneImagePerBusAtTheSizeOfThePage_data()
    {
        QTest::addColumn<SheetPaper>("paper");
        QTest::addColumn<QSize>("size");
        // 150 dots per inch.
        QTest::newRow("A4") << SheetPaper::a4 << QSize(1754, 1240);
        QTest::newRow("Letter") << SheetPaper::letter << QSize(1650, 1275);
    }

    void oneImagePerBusAtTheSizeOfThePage()
    {
        QFETCH(SheetPaper, paper);
        QFETCH(QSize, size);
        QTemporaryDir dir;
        SheetOptions options;
        options.format = SheetFormat::png;
        options.paper = paper;
        options.fileName = u"show.json"_s;
        const ShowFile file = showFile(35);
        const SheetExport exported = exportPanelSheet(file, dir.filePath(u"sheet.png"_s), options);
        QCOMPARE(exported.problem, QString());
        const QStringList expected{dir.filePath(u"sheet-ME1.png"_s),
                                   dir.filePath(u"sheet-PGM.png"_s),
                                   dir.filePath(u"sheet-AUX.png"_s)};
        QCOMPARE(exported.written, expected);
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files),
                 QStringList({u"sheet-AUX.png"_s, u"sheet-ME1.png"_s, u"sheet-PGM.png"_s}));

        QCOMPARE(sheetImageSize(paper), size);
        const SheetGeometry geometry = sheetGeometry(paper, 35);
        const qreal scale = 150.0 / 72.0;
        for (const QString& path : expected) {
            const QImage image(path);
            QCOMPARE(image.size(), size);
            QCOMPARE(qRound(image.dotsPerMeterX() * 0.0254), 150);
            // Drawn at the page's scale: an unassigned cell is shaded to its bottom, an assigned
            // one is not, and the margin is blank.
            const SheetPage page = sheetPage(file, Bus::me1);
            for (const SheetCell& cell : page.cells) {
                const QRectF area = geometry.cell(cell.shift, cell.button);
                const QPoint low =
                    (QPointF(area.center().x(), area.bottom() - 3) * scale).toPoint();
                const QColor colour = image.pixelColor(low);
                if (path.endsWith(u"ME1.png"_s))
                    QCOMPARE(colour == Qt::white, cell.isAssigned());
            }
            QCOMPARE(image.pixelColor(5, 5), QColor(Qt::white));
        }
    }

    void aSetOfImagesThatCannotBeWrittenWholeLeavesTheOldOne()
    {
        QTemporaryDir dir;
        const QString earlier = dir.filePath(u"sheet-ME1.png"_s);
        QFile old(earlier);
        QVERIFY(old.open(QIODevice::WriteOnly));
        old.write("the sheet printed last week");
        old.close();
        // Where PGM's image should go stands a folder.
        QVERIFY(QDir(dir.path()).mkdir(u"sheet-PGM.png"_s));

        SheetOptions options;
        options.format = SheetFormat::png;
        const SheetExport exported =
            exportPanelSheet(showFile(15), dir.filePath(u"sheet.png"_s), options);
        QVERIFY(exported.written.isEmpty());
        QVERIFY2(exported.problem.startsWith(u"cannot write "_s + dir.filePath(u"sheet-PGM.png"_s)),
                 qPrintable(exported.problem));
        QVERIFY(old.open(QIODevice::ReadOnly));
        QCOMPARE(old.readAll(), QByteArray("the sheet printed last week"));
        // Nothing left behind: no AUX image, no half-written file.
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files), QStringList(u"sheet-ME1.png"_s));
    }

    void aSheetThatCannotBeWrittenSaysWhere()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(u"missing/sheet.pdf"_s);
        const SheetExport exported = exportPanelSheet(showFile(15), path, SheetOptions{});
        QVERIFY(exported.written.isEmpty());
        QVERIFY2(exported.problem.startsWith(u"cannot write "_s + path + u": "_s),
                 qPrintable(exported.problem));
    }
};

QTEST_MAIN(TestPanelSheet)
#include "tst_panel_sheet.moc"
