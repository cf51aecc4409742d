// Exporting what the connection has loaded as a show file, and importing one back as a single
// undoable batch of the buttons that differ, against the emulated frame.
#include "editing/editing_model.h"
#include "link_fixture.h"
#include "editing/show_file_transfer.h"

#include <QFile>
#include <algorithm>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;
using namespace quorvane;
using namespace quorvane::test;

namespace {
bool save(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}
} // namespace

class TestShowFileTransfer : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void exportThenImportAChangedFile()
    {
        LinkFixture link;
        QVERIFY(link.startFrame());
        EditingModel model(*link.connection);
        QCOMPARE(planImport(ShowFile{}, *link.connection).refusal.isEmpty(), false);
        link.connection->connect(u"127.0.0.1"_s, 2, 35);
        QTRY_COMPARE_WITH_TIMEOUT(link.connection->connectionState(), ConnectionState::connected,
                                  10'000);

        const ShowExport exportedOrNot = exportShowFile(*link.connection);
        QCOMPARE(exportedOrNot.refusal, QString());
        QVERIFY(exportedOrNot.file);
        const ShowFile& exported = *exportedOrNot.file;
        QCOMPARE(exported.frameName, u"K-Frame XP"_s);
        QCOMPARE(exported.frameAddress, u"127.0.0.1"_s);
        QCOMPARE(exported.suite, 2);
        QCOMPARE(exported.buttonCount, 35);
        int assigned = 0;
        for (int shift = 1; shift <= 4; ++shift) {
            for (int button = 1; button <= 35; ++button)
                assigned += link.frame.mapping(Bus::pgm, 35, shift, button) != 0;
        }
        QCOMPARE(exported.buttons.size(), assigned);
        for (const ShowButton& button : exported.buttons) {
            QCOMPARE(button.bus, Bus::pgm);
            QCOMPARE(button.source,
                     qint64{link.frame.mapping(Bus::pgm, 35, button.shift, button.button)});
        }

        // The file with two buttons changed, and a bus that is not loaded.
        ShowFile edited = exported;
        edited.buttons[0].source = 901;
        edited.buttons[5].source = 902;
        edited.buttons.append({Bus::aux, 1, 1, 77, QString()});
        const ImportPlan plan = planImport(edited, *link.connection);
        QCOMPARE(plan.refusal, QString());
        QCOMPARE(plan.writes.size(), 2);
        QCOMPARE(plan.skippedBuses, QStringList(u"AUX"_s));
        link.frame.clearRecords();
        QCOMPARE(applyImport(plan, model), 2);
        const ShowButton& first = edited.buttons[0];
        const ShowButton& sixth = edited.buttons[5];
        QTRY_COMPARE(link.frame.mapping(Bus::pgm, 35, first.shift, first.button), quint32{901});
        QTRY_COMPARE(link.frame.mapping(Bus::pgm, 35, sixth.shift, sixth.button), quint32{902});
        QCOMPARE(link.frame.writeRequests().size(), 2);

        // One undo takes the whole import back.
        model.undo();
        QTRY_COMPARE(link.frame.mapping(Bus::pgm, 35, first.shift, first.button),
                     quint32(exported.buttons[0].source));
        QTRY_COMPARE(link.frame.mapping(Bus::pgm, 35, sixth.shift, sixth.button),
                     quint32(exported.buttons[5].source));

        // A file for another row width is refused with a reason.
        ShowFile narrow = exported;
        narrow.buttonCount = 20;
        QCOMPARE(planImport(narrow, *link.connection).refusal,
                 u"The file is for 20-button rows; switch the panel to 20 buttons first."_s);
    }

    void unknownButtonsAreNeitherExportedNorImportedOver()
    {
        emulator::FrameEmulatorOptions options;
        options.faults.silentButtons = {{Bus::pgm, 35, 2, 7}, {Bus::pgm, 35, 2, 8}};
        LinkFixture link(options);
        QVERIFY(link.startFrame());
        EditingModel model(*link.connection);
        link.connection->connect(u"127.0.0.1"_s, 1, 35);
        QTRY_COMPARE_WITH_TIMEOUT(link.connection->connectionState(), ConnectionState::connected,
                                  10'000);
        const QString unknown = u"the frame has not answered for these buttons, so what they "
                                u"hold is unknown:\n\nPGM shift 2: buttons 7-8\n\nDisconnect and "
                                u"connect again to read them anew."_s;

        const ShowExport exported = exportShowFile(*link.connection);
        QVERIFY(!exported.file);
        QCOMPARE(exported.refusal, u"Nothing was exported: "_s + unknown);

        ShowFile file;
        file.buttons = {{Bus::pgm, 1, 1, 901, {}}};
        const ImportPlan plan = planImport(file, *link.connection);
        QCOMPARE(plan.refusal, u"Nothing was imported: "_s + unknown);
        QVERIFY(plan.writes.isEmpty());
        QCOMPARE(applyImport(plan, model), 0);
        QVERIFY(link.sentBy(emulator::ClientMessageKind::writeRequest).isEmpty());
    }

    void exportWaitsForTheFrameToConfirmWritesAndHoldsWhatTheCellsShow()
    {
        emulator::FrameEmulatorOptions options;
        // The first write is lost on its way and goes again after the wait for its report.
        options.faults.lostArrivals = {{emulator::ClientMessageKind::writeRequest, 1}};
        LinkTiming timing = fastTiming();
        timing.writeConfirmWait = std::chrono::milliseconds(400);
        LinkFixture link(options, timing);
        QVERIFY(link.startFrame());
        EditingModel model(*link.connection);
        QVERIFY(link.connectAndWait());
        QVERIFY(model.writeEdit({{Bus::pgm, 3, 9}}, {4242}));

        const ShowExport held = exportShowFile(*link.connection);
        QVERIFY(!held.file);
        QCOMPARE(held.refusal,
                 u"Nothing was exported: the frame has not confirmed the latest writes to these "
                 u"buttons, so what they hold is not known:\n\nPGM shift 3: button 9\n\nWait for "
                 u"the frame to confirm them, or write them again."_s);

        QTRY_VERIFY_WITH_TIMEOUT(link.connection->writes().isSettled(), 5'000);
        const ShowExport exported = exportShowFile(*link.connection);
        QVERIFY(exported.file);
        const auto written = std::ranges::find_if(exported.file->buttons, [](const ShowButton& b) {
            return b.bus == Bus::pgm && b.shift == 3 && b.button == 9;
        });
        QVERIFY(written != exported.file->buttons.end());
        QCOMPARE(written->source, 4242);
    }

    void anImportFileIsReadByItsExtension()
    {
        QTemporaryDir dir;
        const QList<ShowButton> buttons{{Bus::aux, 2, 20, 1042, u"\ufeffCAM 7"_s}};
        ShowFile show;
        show.buttonCount = 20;
        show.buttons = buttons;
        const QString csv = dir.filePath(u"show.CSV"_s);
        QVERIFY(save(csv, writeShowCsv(show)));
        const ImportFile fromCsv = readImportFile(csv, 20);
        QCOMPARE(fromCsv.refusal, QString());
        QVERIFY(fromCsv.file);
        QCOMPARE(fromCsv.file->buttonCount, 20);
        QCOMPARE(fromCsv.file->buttons, buttons);

        const QString json = dir.filePath(u"show.json"_s);
        QVERIFY(save(json, writeShowJson(show)));
        const ImportFile fromJson = readImportFile(json, 35);
        QCOMPARE(fromJson.refusal, QString());
        QCOMPARE(fromJson.file, show);
    }

    // The app shows the refusal in a message box and writes nothing.
    void aHostileImportFileIsRefused_data()
    {
        QTest::addColumn<QString>("name"); // in a temporary folder, or an absolute path to read
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("refusal"); // %1 is the path

        QTest::newRow("two byte order marks")
            << u"marks.json"_s << "\xEF\xBB\xBF\xEF\xBB\xBF{}"_ba
            << u"The file was not imported:\n\nline 1: the file starts with 2 byte order marks; "
               u"one at most may stand before the text"_s;
        QTest::newRow("empty CSV") << u"empty.csv"_s << QByteArray()
                                   << u"The file was not imported:\n\nthe file is empty"_s;
        QTest::newRow("a device")
            << u"/dev/zero"_s << QByteArray()
            << u"Could not read %1: it is a device, not a regular file"_s;
    }

    void aHostileImportFileIsRefused()
    {
        QFETCH(QString, name);
        QFETCH(QByteArray, content);
        QFETCH(QString, refusal);
        QTemporaryDir dir;
        const QString path = name.startsWith(u'/') ? name : dir.filePath(name);
        if (!name.startsWith(u'/'))
            QVERIFY(save(path, content));
        const ImportFile read = readImportFile(path, 20);
        QVERIFY(!read.file);
        QCOMPARE(read.refusal, QString(refusal).replace(u"%1"_s, path));
    }

    void aRefusalShowsTheFirstTwelveProblems()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(u"many.csv"_s);
        QByteArray csv = "bus,shift,button,source,name\n"_ba;
        for (int row = 0; row < 20; ++row)
            csv += "PVW,1,1,7,x\n";
        QVERIFY(save(path, csv));
        const ImportFile read = readImportFile(path, 20);
        QVERIFY(!read.file);
        const QStringList lines = read.refusal.split(u'\n');
        QCOMPARE(lines.size(), 2 + 12);
        QCOMPARE(lines.last(), u"line 13: unknown bus \"PVW\" (the buses are ME1, ME2, ME3, ME4, "
                               u"PGM, AUX)"_s);
    }
};

QTEST_GUILESS_MAIN(TestShowFileTransfer)
#include "tst_show_file_transfer.moc"
