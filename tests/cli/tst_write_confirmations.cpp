// Telling a write the frame has taken from one it has only been sent: the cache entry a write
// leaves must be replaced (or, for a cleared button, removed) by the frame's own data.
#include "write_confirmations.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace quorvane;
using namespace quorvane::cli;

namespace {

constexpr int count = 35;

ShowButton button(Bus bus, int shift, int number, qint64 source)
{
    return ShowButton{bus, shift, number, source, {}};
}

// What GVConnection::writeMapping does to its cache.
void writeInto(MappingTable& mappings, const ShowButton& wanted)
{
    const QString key = mappingKey(wanted.bus, count, wanted.shift, wanted.button);
    auto entry = mappings.find(key);
    if (entry != mappings.end())
        entry->source = wanted.source;
    else
        mappings.insert(key, ButtonMapping{QUuid::createUuid(), wanted.bus, wanted.shift,
                                           wanted.button, wanted.source});
}

// What the frame's button data does to it: a fresh record, or none for an unassigned button.
void frameReports(MappingTable& mappings, Bus bus, int shift, int number, qint64 source)
{
    const QString key = mappingKey(bus, count, shift, number);
    if (source == 0)
        mappings.remove(key);
    else
        mappings.insert(key, ButtonMapping{QUuid::createUuid(), bus, shift, number, source});
}

} // namespace

class TestWriteConfirmations : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theWriteAloneConfirmsNothing()
    {
        MappingTable mappings;
        frameReports(mappings, Bus::pgm, 1, 1, 7);
        WriteConfirmations confirmations(count);
        const ShowButton changed = button(Bus::pgm, 1, 1, 12); // entry kept, source replaced
        const ShowButton fresh = button(Bus::me1, 2, 3, 40);   // new entry
        const ShowButton cleared = button(Bus::aux, 4, 35, 0); // a 0 entry until the frame
        for (const ShowButton& wanted : {changed, fresh, cleared}) {
            writeInto(mappings, wanted);
            confirmations.written(wanted, mappings);
        }
        confirmations.review(mappings);
        QCOMPARE(confirmations.confirmedCount(), 0);
        QCOMPARE(confirmations.unconfirmedCount(), 3);
        QVERIFY(!confirmations.allConfirmed());
        for (const TrackedWrite& write : confirmations.writes()) {
            QCOMPARE(write.frameSource, std::nullopt);
            QVERIFY(!write.confirmed);
        }
    }

    void theFramesRecordsConfirm()
    {
        MappingTable mappings;
        frameReports(mappings, Bus::pgm, 1, 1, 7);
        frameReports(mappings, Bus::aux, 4, 35, 9);
        WriteConfirmations confirmations(count);
        const QList<ShowButton> wanted{button(Bus::pgm, 1, 1, 12), button(Bus::me1, 2, 3, 40),
                                       button(Bus::aux, 4, 35, 0)};
        for (const ShowButton& write : wanted) {
            writeInto(mappings, write);
            confirmations.written(write, mappings);
        }

        frameReports(mappings, Bus::pgm, 1, 1, 12);
        confirmations.review(mappings);
        QCOMPARE(confirmations.confirmedCount(), 1);
        QVERIFY(confirmations.writes()[0].confirmed);
        QCOMPARE(confirmations.writes()[0].frameSource, 12);

        frameReports(mappings, Bus::me1, 2, 3, 40);
        frameReports(mappings, Bus::aux, 4, 35, 0);
        confirmations.review(mappings);
        QVERIFY(confirmations.allConfirmed());
        QCOMPARE(confirmations.confirmedCount(), 3);
        QCOMPARE(confirmations.writes()[2].frameSource, 0);
        QCOMPARE(confirmations.writes()[2].wanted, wanted[2]);
    }

    void aFrameThatDisagreesDoesNotConfirm()
    {
        MappingTable mappings;
        WriteConfirmations confirmations(count);
        const ShowButton wanted = button(Bus::me4, 3, 10, 501);
        writeInto(mappings, wanted);
        confirmations.written(wanted, mappings);

        frameReports(mappings, Bus::me4, 3, 10, 77);
        confirmations.review(mappings);
        QVERIFY(!confirmations.writes()[0].confirmed);
        QCOMPARE(confirmations.writes()[0].frameSource, 77);

        // Its latest word counts: a later record with the written source confirms.
        frameReports(mappings, Bus::me4, 3, 10, 501);
        confirmations.review(mappings);
        QVERIFY(confirmations.allConfirmed());

        // And a still later one taking it back withdraws the confirmation.
        frameReports(mappings, Bus::me4, 3, 10, 0);
        confirmations.review(mappings);
        QVERIFY(!confirmations.allConfirmed());
        QCOMPARE(confirmations.writes()[0].frameSource, 0);
    }

    void aClearIsNotConfirmedByAnotherSource()
    {
        MappingTable mappings;
        frameReports(mappings, Bus::me2, 1, 5, 3);
        WriteConfirmations confirmations(count);
        const ShowButton wanted = button(Bus::me2, 1, 5, 0);
        writeInto(mappings, wanted);
        confirmations.written(wanted, mappings);
        frameReports(mappings, Bus::me2, 1, 5, 3);
        confirmations.review(mappings);
        QVERIFY(!confirmations.allConfirmed());
        QCOMPARE(confirmations.writes()[0].frameSource, 3);
    }

    void otherButtonsAndCountsDoNotCount()
    {
        MappingTable mappings;
        WriteConfirmations confirmations(count);
        const ShowButton wanted = button(Bus::pgm, 2, 2, 8);
        writeInto(mappings, wanted);
        confirmations.written(wanted, mappings);
        frameReports(mappings, Bus::pgm, 2, 3, 8);
        frameReports(mappings, Bus::me1, 2, 2, 8);
        // The same button read at 20 buttons per row is another key.
        mappings.insert(mappingKey(Bus::pgm, 20, 2, 2),
                        ButtonMapping{QUuid::createUuid(), Bus::pgm, 2, 2, 8});
        confirmations.review(mappings);
        QVERIFY(!confirmations.allConfirmed());
        QCOMPARE(confirmations.writes()[0].frameSource, std::nullopt);
    }

    void nothingWrittenIsAllConfirmed()
    {
        WriteConfirmations confirmations(count);
        confirmations.review({});
        QVERIFY(confirmations.allConfirmed());
        QCOMPARE(confirmations.confirmedCount(), 0);
        QCOMPARE(confirmations.unconfirmedCount(), 0);
    }
};

QTEST_GUILESS_MAIN(TestWriteConfirmations)
#include "tst_write_confirmations.moc"
