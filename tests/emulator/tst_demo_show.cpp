// The demo show is a believable production and fits everything the frame can send; the
// button table speaks the frame's parameter numbers.

#include "button_table.h"
#include "demo_show.h"
#include "model/button_address.h"

#include <QSet>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace quorvane;
using namespace quorvane::emulator;

namespace {
constexpr std::array<int, 4> buttonCounts{15, 20, 25, 35};
}

class TestDemoShow : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void parameters_data()
    {
        QTest::addColumn<int>("count");
        QTest::addColumn<int>("shift");
        QTest::addColumn<int>("button");
        QTest::addColumn<int>("parameter");
        QTest::newRow("35: first button") << 35 << 1 << 1 << 16;
        QTest::newRow("35: last button of shift 4") << 35 << 4 << 35 << 2240;
        QTest::newRow("20: shift 2 button 3") << 20 << 2 << 3 << 371;
        QTest::newRow("15: first button") << 15 << 1 << 1 << 18;
        QTest::newRow("25: first button") << 25 << 1 << 1 << 17;
        QTest::newRow("20: first of shift 2") << 20 << 2 << 1 << 339;
    }

    void parameters()
    {
        QFETCH(int, count);
        QFETCH(int, shift);
        QFETCH(int, button);
        QFETCH(int, parameter);
        QCOMPARE(int{buttonParameter(count, shift, button)}, parameter);
    }

    // The client's locator turns every parameter back into its button, and no two buttons of
    // any count share a parameter.
    void parametersInvertTheLocator()
    {
        QSet<quint16> seen;
        for (int count : buttonCounts) {
            for (int shift = 1; shift <= 4; ++shift) {
                for (int button = 1; button <= count; ++button) {
                    const quint16 parameter = buttonParameter(count, shift, button);
                    QCOMPARE(locateButton(parameter, count), (ButtonPosition{shift, button}));
                    QVERIFY(!seen.contains(parameter));
                    seen.insert(parameter);
                }
            }
        }
    }

    void tableKeysByBusAndParameter()
    {
        ButtonTable table;
        QCOMPARE(table.mapping(Bus::pgm, 35, 1, 1), 0u);
        table.setMapping(Bus::pgm, 35, 1, 1, 5);
        QCOMPARE(table.source(0x30, 16), 5u);
        QCOMPARE(table.source(0x40, 16), 0u); // ME4 is another bus
        QCOMPARE(table.mapping(Bus::pgm, 20, 1, 1), 0u);
        table.setSource(0x30, 16, 0);
        QCOMPARE(table.assignedCount(), 0);
    }

    void sourcesFitTheRecords()
    {
        const Show show = demoShow();
        QVERIFY(show.sources.size() >= 100);
        int previous = 0;
        int engineeringOnly = 0;
        int internal = 0;
        int withoutOled = 0;
        for (const NamedSource& source : show.sources) {
            QVERIFY2(source.number > previous, "ascending and unique");
            previous = source.number;
            QVERIFY2(fitsDefinitionRecord(source.number, source.names.eng),
                     qPrintable(source.names.eng));
            QVERIFY(fitsNameRecord(source.number, source.names));
            if (!hasCustomName(source.names))
                ++engineeringOnly;
            else if (source.names.oled.isEmpty())
                ++withoutOled;
            if (source.number >= 700) {
                ++internal;
                QVERIFY(!hasCustomName(source.names));
            }
        }
        QVERIFY(engineeringOnly >= 10);
        QVERIFY(internal >= 10);
        QVERIFY(withoutOled >= 3);
        QCOMPARE(show.find(1)->names.panel, u"CAM 1 WIDE"_s);
        QVERIFY(show.find(2000) == nullptr);
    }

    // Every bus, count and shift has its buttons assigned to sources of the show, with a few
    // left empty.
    void everyButtonIsMapped()
    {
        const Show show = demoShow();
        int assigned = 0;
        int empty = 0;
        for (Bus bus : allBuses) {
            for (int count : buttonCounts) {
                for (int shift = 1; shift <= 4; ++shift) {
                    int rowAssigned = 0;
                    for (int button = 1; button <= count; ++button) {
                        const quint32 source = show.buttons.mapping(bus, count, shift, button);
                        if (source == 0) {
                            ++empty;
                            continue;
                        }
                        ++rowAssigned;
                        QVERIFY(show.find(int(source)) != nullptr);
                    }
                    QVERIFY(rowAssigned >= count - 3);
                    assigned += rowAssigned;
                }
            }
        }
        QCOMPARE(show.buttons.assignedCount(), assigned);
        QVERIFY(empty > 0);
        QVERIFY(empty * 10 < assigned);
    }

    void namesTableHoldsEverySource()
    {
        const Show show = demoShow();
        const SourceNameTable names = show.names();
        QCOMPARE(names.size(), qsizetype(show.sources.size()));
        QCOMPARE(names.value(700).eng, u"BLACK"_s);
        QVERIFY(names.value(700).panel.isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestDemoShow)
#include "tst_demo_show.moc"
