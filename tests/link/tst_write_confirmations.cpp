// Telling a write the frame has taken from one it has only been sent: only a record of the
// button that the frame sends after the write, carrying the written source, confirms it.
#include "link/write_confirmations.h"

#include <QHash>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace quorvane;

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
        return [this](const TrackedWrite& write) -> std::optional<ButtonAnswerStamp> {
            const auto found =
                m_last.constFind(key(write.wanted.bus, write.wanted.shift, write.wanted.button));
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
    QHash<QString, ButtonAnswerStamp> m_last;
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
        confirmations.written(button(Bus::pgm, 1, 1, 12), 35, frame.serial(), std::nullopt, 0);
        confirmations.written(button(Bus::aux, 4, 35, 0), 35, frame.serial(), std::nullopt, 0);
        confirmations.written(button(Bus::me1, 2, 3, 40), 35, frame.serial(), std::nullopt, 0);
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
            confirmations.written(write, 35, frame.serial(), std::nullopt, 0);

        frame.report(Bus::pgm, 1, 1, 12);
        confirmations.review(frame.lookup());
        QCOMPARE(confirmations.confirmedCount(), 1);
        QVERIFY(confirmations.writes()[0].isConfirmed());
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
        confirmations.written(wanted, 35, frame.serial(), std::nullopt, 0);

        frame.report(Bus::me4, 3, 10, 77);
        confirmations.review(frame.lookup());
        QVERIFY(!confirmations.writes()[0].isConfirmed());
        QVERIFY(confirmations.allAnswered());
        QCOMPARE(confirmations.writes()[0].frameSource, 77);
        QCOMPARE(confirmations.unconfirmed(), QList<ShowButton>{wanted});

        // Its latest word counts: a later record with the written source confirms.
        frame.report(Bus::me4, 3, 10, 501);
        confirmations.review(frame.lookup());
        QVERIFY(confirmations.allConfirmed());

        // A still later record is the frame's news, or an earlier report overtaken on the
        // way: the frame did take the write.
        frame.report(Bus::me4, 3, 10, 0);
        QVERIFY(!confirmations.review(frame.lookup()));
        QVERIFY(confirmations.allConfirmed());
        QCOMPARE(confirmations.writes()[0].frameSource, 501);
    }

    void writtenAgainOnlyLaterAnswersCount()
    {
        FrameAnswers frame;
        WriteConfirmations confirmations;
        const ShowButton wanted = button(Bus::me2, 1, 5, 0);
        confirmations.written(wanted, 35, frame.serial(), std::nullopt, 0);
        frame.report(Bus::me2, 1, 5, 3);
        confirmations.review(frame.lookup());
        QCOMPARE(confirmations.writes()[0].frameSource, 3);

        confirmations.resent(0, frame.serial(), 500);
        confirmations.review(frame.lookup());
        QCOMPARE(confirmations.writes().size(), 1);
        QCOMPARE(confirmations.writes()[0].sends, 2);
        QCOMPARE(confirmations.writes()[0].firstSentAt, 0);
        QCOMPARE(confirmations.writes()[0].lastSentAt, 500);
        QCOMPARE(confirmations.writes()[0].frameSource, std::nullopt);
        QVERIFY(!confirmations.allAnswered());

        frame.report(Bus::me2, 1, 5, 0);
        confirmations.review(frame.lookup());
        QVERIFY(confirmations.allConfirmed());
    }

    void aNewWriteToAButtonReplacesItsOldOne()
    {
        FrameAnswers frame;
        WriteConfirmations confirmations;
        confirmations.written(button(Bus::pgm, 2, 10, 115), 35, frame.serial(), std::nullopt, 0);
        frame.report(Bus::pgm, 2, 10, 56);
        confirmations.review(frame.lookup());
        confirmations.settle(0, WriteOutcome::refused);
        QCOMPARE(confirmations.count(WriteOutcome::refused), 1);

        confirmations.written(button(Bus::pgm, 2, 10, 115), 35, frame.serial(), ReplacedSource{56},
                              900);
        QCOMPARE(confirmations.writes().size(), 1);
        const TrackedWrite& write = confirmations.writes()[0];
        QCOMPARE(write.outcome, WriteOutcome::pending);
        QCOMPARE(write.sends, 1);
        QCOMPARE(write.frameSource, std::nullopt);
        QCOMPARE(write.replaced, ReplacedSource{56});
        QCOMPARE(write.firstSentAt, 900);
        // The same button at another panel width is another button.
        confirmations.written(button(Bus::pgm, 2, 10, 115), 20, frame.serial(), std::nullopt, 0);
        QCOMPARE(confirmations.writes().size(), 2);
        QVERIFY(confirmations.find(Bus::pgm, 2, 10, 20) != nullptr);
        QVERIFY(confirmations.find(Bus::pgm, 2, 11, 20) == nullptr);
    }

    void theMarksOfWritesGivenUpOnCanBeForgotten()
    {
        FrameAnswers frame;
        WriteConfirmations confirmations;
        for (int number = 1; number <= 4; ++number)
            confirmations.written(button(Bus::me1, 1, number, 9), 35, frame.serial(), {}, 0);
        frame.report(Bus::me1, 1, 1, 9);
        confirmations.review(frame.lookup());
        confirmations.settle(1, WriteOutcome::refused);
        confirmations.settle(2, WriteOutcome::notConfirmed);
        confirmations.forgetGivenUp();
        QCOMPARE(confirmations.writes().size(), 2);
        QCOMPARE(confirmations.writes()[0].outcome, WriteOutcome::confirmed);
        QCOMPARE(confirmations.writes()[1].outcome, WriteOutcome::pending);
    }

    void aWriteGivenUpOnIsNamedWithWhatTheFrameSaid()
    {
        const TrackedWrite refused{.wanted = button(Bus::pgm, 3, 15, 47), .frameSource = 79};
        QCOMPARE(refusedWriteText(refused), u"PGM S3B15 (asked 47, frame kept 79)"_s);
        const TrackedWrite silent{.wanted = button(Bus::pgm, 2, 10, 115)};
        QCOMPARE(unconfirmedWriteText(silent, 56),
                 u"PGM S2B10 (asked 115, frame last reported 56)"_s);
        QCOMPARE(unconfirmedWriteText(silent, std::nullopt),
                 u"PGM S2B10 (asked 115, no report from the frame)"_s);
    }

    void otherButtonsDoNotCount()
    {
        FrameAnswers frame;
        WriteConfirmations confirmations;
        confirmations.written(button(Bus::pgm, 2, 2, 8), 35, frame.serial(), std::nullopt, 0);
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
        confirmations.written(button(Bus::pgm, 1, 1, 0), 35, frame.serial(), std::nullopt, 0);
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
