// What a panel sheet says before anything is drawn: its buses, its cells, the texts around them
// and the names of its files.
#include "sheet_content.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace quorvane;

class TestSheetContent : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void busesAreThoseListedInDisplayOrder()
    {
        ShowFile file;
        file.buttons = {{Bus::aux, 1, 1, 5, u"A"_s},
                        {Bus::me2, 2, 3, 6, u"B"_s},
                        {Bus::aux, 4, 9, 7, u"C"_s},
                        {Bus::pgm, 1, 2, 8, u"D"_s}};
        QCOMPARE(sheetBuses(file, {}), QList<Bus>({Bus::me2, Bus::pgm, Bus::aux}));
    }

    void namedBusesReplaceThoseListed()
    {
        ShowFile file;
        file.buttons = {{Bus::aux, 1, 1, 5, u"A"_s}};
        // Named buses print whether or not the file lists buttons on them, once each.
        QCOMPARE(sheetBuses(file, {Bus::pgm, Bus::me3, Bus::pgm}),
                 QList<Bus>({Bus::me3, Bus::pgm}));
        QCOMPARE(sheetBuses(ShowFile{}, {}), QList<Bus>());
    }

    void everyButtonHasACellAndUnlistedOnesAreUnassigned()
    {
        ShowFile file;
        file.buttonCount = 20;
        file.buttons = {{Bus::pgm, 1, 1, 12, u"CAM 12"_s},
                        {Bus::pgm, 4, 20, 65535, u"Last"_s},
                        {Bus::pgm, 2, 7, 0, u"cleared"_s}, // listed as source 0: unassigned
                        {Bus::me1, 1, 2, 3, u"other bus"_s}};
        const SheetPage page = sheetPage(file, Bus::pgm);
        QCOMPARE(page.bus, Bus::pgm);
        QCOMPARE(page.cells.size(), 4 * 20);
        QCOMPARE(page.assigned, 2);
        for (qsizetype index = 0; index < page.cells.size(); ++index) {
            const SheetCell& cell = page.cells[index];
            QCOMPARE(cell.shift, int(index / 20) + 1);
            QCOMPARE(cell.button, int(index % 20) + 1);
        }
        QCOMPARE(page.cells[0].source, qint64(12));
        QCOMPARE(page.cells[0].name, u"CAM 12"_s);
        QCOMPARE(page.cells[79].source, qint64(65535));
        QVERIFY(page.cells[79].isAssigned());
        QVERIFY(!page.cells[20 + 6].isAssigned());
        QCOMPARE(page.cells[20 + 6].name, QString());
        QVERIFY(!page.cells[1].isAssigned()); // ME1's button 2 is not PGM's
    }

    void factsNameTheFrameTheSuiteTheWidthAndTheDate()
    {
        ShowFile file;
        file.frameName = u"K-Frame XP"_s;
        file.frameVersion = u"V12.3.1"_s;
        file.frameAddress = u"10.1.2.3"_s;
        file.suite = 3;
        file.buttonCount = 25;
        file.buttons = {{Bus::me4, 1, 1, 1, u"CAM 1"_s}, {Bus::me4, 2, 2, 2, u"CAM 2"_s}};
        const QList<SheetFact> facts =
            sheetFacts(file, sheetPage(file, Bus::me4), QDate(2025, 3, 9));
        QStringList texts;
        for (const SheetFact& fact : facts)
            texts.append(fact.label + u": "_s + fact.value);
        QCOMPARE(texts,
                 QStringList({u"Frame: K-Frame XP"_s, u"Version: V12.3.1"_s, u"Address: 10.1.2.3"_s,
                              u"Suite: 3"_s, u"Buttons: 25 per row"_s, u"Assigned: 2 of 100"_s,
                              u"Date: 2025-03-09"_s}));
    }

    void aFileWithoutAFrameSaysSo()
    {
        ShowFile file; // as a CSV file is read: no frame description
        const QList<SheetFact> facts = sheetFacts(file, sheetPage(file, Bus::me1), QDate());
        QCOMPARE(facts[0].value, u"not recorded"_s);
        QCOMPARE(facts[1].value, u"not recorded"_s);
        QCOMPARE(facts[2].value, u"not recorded"_s);
    }

    void pageNumbers() { QCOMPARE(pageNumberText(2, 6), u"Page 2 of 6"_s); }

    void controlCharactersInNamesAreWrittenAsEscapes()
    {
        ShowFile file;
        file.buttons = {{Bus::me1, 1, 1, 5, u"Line\t1"_s}};
        QCOMPARE(sheetPage(file, Bus::me1).cells[0].name, u"Line\\t1"_s);
    }

    void imageNamesCarryTheBus()
    {
        QCOMPARE(pngPathFor(u"sheet.png"_s, Bus::me1), u"sheet-ME1.png"_s);
        QCOMPARE(pngPathFor(u"sheet"_s, Bus::aux), u"sheet-AUX.png"_s);
        QCOMPARE(pngPathFor(u"out/studio.v2.pdf"_s, Bus::pgm), u"out/studio.v2-PGM.png"_s);
        QCOMPARE(pngPathFor(u"my.shows/sheet"_s, Bus::me2), u"my.shows/sheet-ME2.png"_s);
        QCOMPARE(pngPathFor(u".sheet"_s, Bus::me3), u".sheet-ME3.png"_s);
    }

    void sheetFilesFollowTheFormat()
    {
        QCOMPARE(sheetFiles(u"a.pdf"_s, SheetFormat::pdf, {Bus::me1, Bus::pgm}),
                 QStringList(u"a.pdf"_s));
        QCOMPARE(sheetFiles(u"a.png"_s, SheetFormat::png, {Bus::me1, Bus::pgm}),
                 QStringList({u"a-ME1.png"_s, u"a-PGM.png"_s}));
        QCOMPARE(withoutSuffix(u"shows/studio-a.json"_s), u"shows/studio-a"_s);
        QCOMPARE(withoutSuffix(u"studio"_s), u"studio"_s);
    }
};

QTEST_GUILESS_MAIN(TestSheetContent)
#include "tst_sheet_content.moc"
