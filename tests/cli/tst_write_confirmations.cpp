// Telling a write the frame has taken from one it has only been sent: only a record of the
// button that the frame sends after the write, carrying the written source, confirms it.
#include "write_confirmations.h"

#include <QHash>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace quorvane;
using namespace quorvane::cli;

namespace {

ShowButton button(Bus bus, int shift, int number, qint64 source)
{
    return ShowButton{bus, shift, number, source, {}};
}

// The frame's answers as the connection numbers them.
class FrameAnswers {
public:
    void report(Bus bus, int shift, int number, quint32 source)
    {
        m_last.insert(key(bus, shift, number), {++m_serial, source});
    }
    quint64 serial() const { return m_serial; }
    AnswerLookup lookup() const
    {
        return [this](const ShowButton& b) -> std::optional<GVConnection::ButtonAnswerStamp> {
            const auto found = m_last.constFind(key(b.bus, b.shift, b.button));
            if (found == m_last.cend())
                return std::nullopt;
            return *found;
        };
    }

private:
    static QString key(Bus bus, int shift, int number)
    {
        return mappingKey(bus, 35, shift, number);
    }
    QHash<QString, GVConnection::ButtonAnswerStamp> m_last;
    quint64 m_serial = 0;
};

} // namespace

class TestWriteConfirmations : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void answersFromBeforeTheWriteConfirmNothing()
    {
        FrameAnswers frame;
        frame.report(Bus::pgm, 1, 1, 12); // already what will be written
        frame.report(Bus::aux, 4, 35, 0);
        WriteConfirmations confirmations;
        confirmations.written(button(Bus::pgm, 1, 1, 12), frame.serial());
        confirmations.written(button(Bus::aux, 4, 35, 0), frame.serial());
        confirmations.written(button(Bus::me1, 2, 3, 40), frame.serial());
        confirmations.review(frame.lookup());
        QCOMPARE(confirmations.confirmedCount(), 0);
        QCOMPARE(confirmations.unconfirmedCount(), 3);
        QVERIFY(!confirmations.allAnswered());
        for (const TrackedWrite& write : confirmations.writes()) {
            QCOMPARE(write.frameSource, std::nullopt);
            QCOMPARE(write.sends, 1);
        }
    }

    void theFramesRecordsAfterTheWriteConfirm()
    {
        FrameAnswers frame;
        WriteConfirmations confirmations;
        const QList<ShowButton> wanted{button(Bus::pgm, 1, 1, 12), button(Bus::me1, 2, 3, 40),
                                       button(Bus::aux, 4, 35, 0)};
        for (const ShowButton& write : wanted)
            confirmations.written(write, frame.serial());

        frame.report(Bus::pgm, 1, 1, 12);
        confirmations.review(frame.lookup());
        QCOMPARE(confirmations.confirmedCount(), 1);
        QVERIFY(confirmations.writes()[0].confirmed);
        QCOMPARE(confirmations.writes()[0].frameSource, 12);

        frame.report(Bus::me1, 2, 3, 40);
        frame.report(Bus::aux, 4, 35, 0); // a clear is confirmed by the record of source 0
        confirmations.review(frame.lookup());
        QVERIFY(confirmations.allConfirmed());
        QVERIFY(confirmations.allAnswered());
        QCOMPARE(confirmations.writes()[2].frameSource, 0);
        QCOMPARE(confirmations.unconfirmed(), QList<ShowButton>());
    }

    void aFrameThatDisagreesDoesNotConfirm()
    {
        FrameAnswers frame;
        WriteConfirmations confirmations;
        const ShowButton wanted = button(Bus::me4, 3, 10, 501);
        confirmations.written(wanted, frame.serial());

        frame.report(Bus::me4, 3, 10, 77);
        confirmations.review(frame.lookup());
        QVERIFY(!confirmations.writes()[0].confirmed);
        QVERIFY(confirmations.allAnswered());
        QCOMPARE(confirmations.writes()[0].frameSource, 77);
        QCOMPARE(confirmations.unconfirmed(), QList<ShowButton>{wanted});

        // Its latest word counts: a later record with the written source confirms.
        frame.report(Bus::me4, 3, 10, 501);
        confirmations.review(frame.lookup());
        QVERIFY(confirmations.allConfirmed());

        // And a still later one taking it back withdraws the confirmation.
        frame.report(Bus::me4, 3, 10, 0);
        confirmations.review(frame.lookup());
        QVERIFY(!confirmations.allConfirmed());
        QCOMPARE(confirmations.writes()[0].frameSource, 0);
    }

    void writtenAgainOnlyLaterAnswersCount()
    {
        FrameAnswers frame;
        WriteConfirmations confirmations;
        const ShowButton wanted = button(Bus::me2, 1, 5, 0);
        confirmations.written(wanted, frame.serial());
        frame.report(Bus::me2, 1, 5, 3);
        confirmations.review(frame.lookup());
        QCOMPARE(confirmations.writes()[0].frameSource, 3);

        confirmations.written(wanted, frame.serial());
        confirmations.review(frame.lookup());
        QCOMPARE(confirmations.writes().size(), 1);
        QCOMPARE(confirmations.writes()[0].sends, 2);
        QCOMPARE(confirmations.writes()[0].frameSource, std::nullopt);
        QVERIFY(!confirmations.allAnswered());

        frame.report(Bus::me2, 1, 5, 0);
        confirmations.review(frame.lookup());
        QVERIFY(confirmations.allConfirmed());
    }

    void otherButtonsDoNotCount()
    {
        FrameAnswers frame;
        WriteConfirmations confirmations;
        confirmations.written(button(Bus::pgm, 2, 2, 8), frame.serial());
        frame.report(Bus::pgm, 2, 3, 8);
        frame.report(Bus::me1, 2, 2, 8);
        confirmations.review(frame.lookup());
        QVERIFY(!confirmations.allConfirmed());
        QCOMPARE(confirmations.writes()[0].frameSource, std::nullopt);
    }

    void aReservedAnswerIsNoConfirmation()
    {
        FrameAnswers frame;
        WriteConfirmations confirmations;
        confirmations.written(button(Bus::pgm, 1, 1, 0), frame.serial());
        frame.report(Bus::pgm, 1, 1, 0xFFFFFFFF);
        confirmations.review(frame.lookup());
        QVERIFY(!confirmations.allConfirmed());
        QCOMPARE(confirmations.writes()[0].frameSource, qint64{0xFFFFFFFF});
    }

    void nothingWrittenIsAllConfirmed()
    {
        WriteConfirmations confirmations;
        confirmations.review(FrameAnswers().lookup());
        QVERIFY(confirmations.allConfirmed());
        QVERIFY(confirmations.allAnswered());
        QCOMPARE(confirmations.confirmedCount(), 0);
        QCOMPARE(confirmations.unconfirmedCount(), 0);
    }
};

QTEST_GUILESS_MAIN(TestWriteConfirmations)
#include "tst_write_confirmations.moc"
