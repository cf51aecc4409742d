// The sandbox strip: what a drop parks there, its limit, selection and removal.
#include "editing/sandbox.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace quorvane;

namespace {
MultiButtonDragData dragOf(const QList<qint64>& sources)
{
    MultiButtonDragData payload;
    int button = 1;
    for (qint64 source : sources)
        payload.buttons.append({button++, source, 1});
    payload.fromBus = u"ME1"_s;
    payload.fromShift = 1;
    payload.anchorButton = 1;
    payload.anchorShift = 1;
    return payload;
}

QList<int> sourcesOf(const Sandbox& sandbox)
{
    QList<int> sources;
    for (const SandboxSlot& slot : sandbox.slots())
        sources.append(slot.source);
    return sources;
}
} // namespace

class TestSandbox : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void parksTheSourcesOfTheFirstPayloadInOrderSkippingEmptyButtons()
    {
        Sandbox sandbox;
        QCOMPARE(sandbox.add({dragOf({12, 0, 705, 12}), dragOf({99})}), 3);
        QCOMPARE(sourcesOf(sandbox), QList<int>({12, 705, 12}));
        // Every slot has its own id.
        QVERIFY(!sandbox.slots()[0].id.isNull());
        QVERIFY(sandbox.slots()[0].id != sandbox.slots()[2].id);
    }

    void nothingHappensWithoutPayload()
    {
        Sandbox sandbox;
        QCOMPARE(sandbox.add({}), 0);
        QCOMPARE(sandbox.add({dragOf({})}), 0);
        QVERIFY(sandbox.slots().isEmpty());
    }

    void holdsTwentySlotsAndIgnoresTheRest()
    {
        Sandbox sandbox;
        QList<qint64> many;
        for (int source = 1; source <= 15; ++source)
            many.append(source);
        QCOMPARE(sandbox.add({dragOf(many)}), 15);
        QCOMPARE(sandbox.add({dragOf({101, 102, 103, 104, 105, 106, 107})}), 5);
        QCOMPARE(sandbox.slots().size(), 20);
        QCOMPARE(sandbox.slots().first().source, 1);
        QCOMPARE(sandbox.slots().last().source, 105);
        QCOMPARE(sandbox.add({dragOf({200})}), 0);
        QCOMPARE(sandbox.slots().size(), 20);
    }

    void removingTheSelectedSlotMovesTheLaterOnesUp()
    {
        Sandbox sandbox;
        sandbox.add({dragOf({10, 20, 30})});
        const QUuid third = sandbox.slots()[2].id;
        sandbox.select(1);
        QVERIFY(sandbox.hasSelectedSlot());
        QVERIFY(sandbox.removeSelected());
        QCOMPARE(sourcesOf(sandbox), QList<int>({10, 30}));
        QCOMPARE(sandbox.slots()[1].id, third);
        QCOMPARE(sandbox.selectedIndex(), std::nullopt);
        QVERIFY(!sandbox.removeSelected());
    }

    void aStaleIndexRemovesNothing()
    {
        Sandbox sandbox;
        sandbox.add({dragOf({10, 20})});
        sandbox.select(2);
        QVERIFY(!sandbox.hasSelectedSlot());
        QVERIFY(!sandbox.removeSelected());
        QCOMPARE(sourcesOf(sandbox), QList<int>({10, 20}));
        QCOMPARE(sandbox.selectedIndex(), 2);
        sandbox.select(-1);
        QVERIFY(!sandbox.removeSelected());
    }

    void aSlotDragsAsASandboxPayload()
    {
        Sandbox sandbox;
        sandbox.add({dragOf({10, 705})});
        const auto payload = sandbox.dragData(1);
        QVERIFY(payload);
        QVERIFY(payload->isFromSandbox());
        QCOMPARE(payload->fromBus, u"SANDBOX"_s);
        QCOMPARE(payload->buttons.size(), 1);
        QCOMPARE(payload->buttons.first().source, 705);
        // It survives the trip through JSON.
        QCOMPARE(decodeDragData(encodeDragData(*payload)), payload);
        QCOMPARE(sandbox.dragData(2), std::nullopt);
        QCOMPARE(sandbox.dragData(-1), std::nullopt);
    }

    void slotsAreLabelledFromOne()
    {
        QCOMPARE(Sandbox::slotLabel(0), u"S1"_s);
        QCOMPARE(Sandbox::slotLabel(19), u"S20"_s);
    }
};

QTEST_GUILESS_MAIN(TestSandbox)
#include "tst_sandbox.moc"
