// Exporting what the connection has loaded as a show file, and importing one back as a single
// undoable batch of the buttons that differ, against the emulated frame.
#include "editing_model.h"
#include "link_fixture.h"
#include "show_file_transfer.h"

using namespace Qt::StringLiterals;
using namespace quorvane;
using namespace quorvane::test;

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

        const ShowFile exported = exportShowFile(*link.connection);
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
};

QTEST_GUILESS_MAIN(TestShowFileTransfer)
#include "tst_show_file_transfer.moc"
