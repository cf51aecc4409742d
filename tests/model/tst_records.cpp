#include "model/bus.h"
#include "model/button_mapping.h"
#include "model/source_name.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace quorvane;

Q_DECLARE_METATYPE(quorvane::Bus)
Q_DECLARE_METATYPE(quorvane::SourceName)

namespace quorvane {
// Readable failure messages for QCOMPARE.
char* toString(Bus bus)
{
    return QTest::toString(busName(bus));
}

char* toString(const std::optional<Bus>& bus)
{
    return bus ? toString(*bus) : qstrdup("no bus");
}
} // namespace quorvane

char* toString(const std::optional<QString>& text)
{
    return text ? QTest::toString(*text) : qstrdup("no text");
}

namespace {
SourceName names(const QString& eng, const QString& panel, const QString& oled, const QString& menu)
{
    SourceName name;
    name.eng = eng;
    name.panel = panel;
    name.oled = oled;
    name.menu = menu;
    return name;
}
} // namespace

class TestRecords : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void busesInDisplayOrder()
    {
        const QList<Bus> order(allBuses.begin(), allBuses.end());
        QCOMPARE(order, QList<Bus>({Bus::me1, Bus::me2, Bus::me3, Bus::me4, Bus::pgm, Bus::aux}));
        QStringList names;
        for (Bus bus : allBuses)
            names.append(busName(bus));
        QCOMPARE(names, QStringList({u"ME1"_s, u"ME2"_s, u"ME3"_s, u"ME4"_s, u"PGM"_s, u"AUX"_s}));
    }

    void busFromName_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<std::optional<Bus>>("expected");
        QTest::newRow("ME1") << u"ME1"_s << std::optional(Bus::me1);
        QTest::newRow("ME2") << u"ME2"_s << std::optional(Bus::me2);
        QTest::newRow("ME3") << u"ME3"_s << std::optional(Bus::me3);
        QTest::newRow("ME4") << u"ME4"_s << std::optional(Bus::me4);
        QTest::newRow("PGM") << u"PGM"_s << std::optional(Bus::pgm);
        QTest::newRow("AUX") << u"AUX"_s << std::optional(Bus::aux);
        QTest::newRow("lower case") << u"me1"_s << std::optional<Bus>();
        QTest::newRow("mixed case") << u"Pgm"_s << std::optional<Bus>();
        QTest::newRow("trailing blank") << u"AUX "_s << std::optional<Bus>();
        QTest::newRow("leading blank") << u" ME2"_s << std::optional<Bus>();
        QTest::newRow("prefix only") << u"ME"_s << std::optional<Bus>();
        QTest::newRow("fifth M/E") << u"ME5"_s << std::optional<Bus>();
        QTest::newRow("empty") << QString() << std::optional<Bus>();
    }

    void busFromName()
    {
        QFETCH(QString, name);
        QFETCH(std::optional<Bus>, expected);
        QCOMPARE(quorvane::busFromName(name), expected);
    }

    void busCodes_data()
    {
        QTest::addColumn<Bus>("bus");
        QTest::addColumn<int>("code");
        QTest::newRow("ME1") << Bus::me1 << 0x00;
        QTest::newRow("ME2") << Bus::me2 << 0x10;
        QTest::newRow("ME3") << Bus::me3 << 0x20;
        // The frame's codes cross here: ME4 is 0x40 and PGM 0x30.
        QTest::newRow("ME4") << Bus::me4 << 0x40;
        QTest::newRow("PGM") << Bus::pgm << 0x30;
        QTest::newRow("AUX") << Bus::aux << 0x50;
    }

    void busCodes()
    {
        QFETCH(Bus, bus);
        QFETCH(int, code);
        QCOMPARE(int{busCode(bus)}, code);
        QCOMPARE(busFromCode(static_cast<quint8>(code)), std::optional(bus));
    }

    void unknownCodesGiveNoBus_data()
    {
        QTest::addColumn<int>("code");
        QTest::newRow("0x60") << 0x60;
        QTest::newRow("0x01") << 0x01;
        QTest::newRow("0xff") << 0xFF;
        QTest::newRow("0x0f") << 0x0F;
        QTest::newRow("0x31") << 0x31;
    }

    void unknownCodesGiveNoBus()
    {
        QFETCH(int, code);
        QCOMPARE(busFromCode(static_cast<quint8>(code)), std::optional<Bus>());
    }

    void onlySixCodesNameABus()
    {
        int known = 0;
        for (int code = 0; code <= 0xFF; ++code) {
            if (busFromCode(static_cast<quint8>(code)))
                ++known;
        }
        QCOMPARE(known, 6);
    }

    void mappingKey_data()
    {
        QTest::addColumn<Bus>("bus");
        QTest::addColumn<int>("buttonCount");
        QTest::addColumn<int>("shift");
        QTest::addColumn<int>("button");
        QTest::addColumn<QString>("key");
        QTest::newRow("AUX last button") << Bus::aux << 15 << 4 << 15 << u"AUX-15-4-15"_s;
        QTest::newRow("ME1 button 7") << Bus::me1 << 20 << 1 << 7 << u"ME1-20-1-7"_s;
        QTest::newRow("PGM no padding") << Bus::pgm << 35 << 2 << 3 << u"PGM-35-2-3"_s;
        QTest::newRow("ME4 two digits") << Bus::me4 << 25 << 3 << 25 << u"ME4-25-3-25"_s;
    }

    void mappingKey()
    {
        QFETCH(Bus, bus);
        QFETCH(int, buttonCount);
        QFETCH(int, shift);
        QFETCH(int, button);
        QFETCH(QString, key);
        QCOMPARE(quorvane::mappingKey(bus, buttonCount, shift, button), key);
    }

    void buttonCountSeparatesKeys()
    {
        QCOMPARE_NE(quorvane::mappingKey(Bus::me1, 20, 1, 7),
                    quorvane::mappingKey(Bus::me1, 15, 1, 7));
    }

    void mappingsDifferingOnlyInIdShareAKey()
    {
        const ButtonMapping first{QUuid::createUuid(), Bus::me2, 1, 7, 1042};
        ButtonMapping second = first;
        QCOMPARE(second, first);
        second.id = QUuid::createUuid();
        QCOMPARE_NE(second.id, first.id);
        QCOMPARE_NE(second, first);

        MappingTable table;
        table.insert(quorvane::mappingKey(first.bus, 20, first.shift, first.button), first);
        const QString key = quorvane::mappingKey(second.bus, 20, second.shift, second.button);
        QCOMPARE(key, u"ME2-20-1-7"_s);
        QVERIFY(table.contains(key));
        QCOMPARE(table.value(key).id, first.id);
    }

    void everyMappingGetsAFreshId()
    {
        const ButtonMapping a;
        const ButtonMapping b;
        QVERIFY(!a.id.isNull());
        QCOMPARE_NE(a.id, b.id);
    }

    void displayName_data()
    {
        QTest::addColumn<int>("source");
        QTest::addColumn<SourceNameTable>("names");
        QTest::addColumn<InternalSourceLabels>("labels");
        QTest::addColumn<std::optional<QString>>("expected");

        const InternalSourceLabels labels{{699, u"Label 699"_s},
                                          {700, u"Label 700"_s},
                                          {705, u"Label 705"_s},
                                          {750, u"Label 750"_s}};
        const std::optional<QString> none;

        QTest::newRow("menu over all")
            << 705 << SourceNameTable{{705, names(u"Eng"_s, u"Panel"_s, u"Oled"_s, u"Menu"_s)}}
            << labels << std::optional(u"Menu"_s);
        QTest::newRow("oled over panel")
            << 12 << SourceNameTable{{12, names(u"Eng"_s, u"Panel"_s, u"Oled"_s, {})}} << labels
            << std::optional(u"Oled"_s);
        QTest::newRow("panel and menu")
            << 12 << SourceNameTable{{12, names({}, u"Panel"_s, {}, u"Menu"_s)}} << labels
            << std::optional(u"Menu"_s);
        QTest::newRow("panel over label")
            << 705 << SourceNameTable{{705, names(u"Eng"_s, u"Panel"_s, {}, {})}} << labels
            << std::optional(u"Panel"_s);
        QTest::newRow("705 label over eng")
            << 705 << SourceNameTable{{705, names(u"Eng 705"_s, {}, {}, {})}} << labels
            << std::optional(u"Label 705"_s);
        QTest::newRow("700 label over eng")
            << 700 << SourceNameTable{{700, names(u"Eng 700"_s, {}, {}, {})}} << labels
            << std::optional(u"Label 700"_s);
        QTest::newRow("699 eng, label ignored")
            << 699 << SourceNameTable{{699, names(u"Eng 699"_s, {}, {}, {})}} << labels
            << std::optional(u"Eng 699"_s);
        QTest::newRow("699 label only") << 699 << SourceNameTable{} << labels << none;
        QTest::newRow("750 label only")
            << 750 << SourceNameTable{} << labels << std::optional(u"Label 750"_s);
        QTest::newRow("750 empty entry, label") << 750 << SourceNameTable{{750, SourceName{}}}
                                                << labels << std::optional(u"Label 750"_s);
        QTest::newRow("800 eng, no label")
            << 800 << SourceNameTable{{800, names(u"Eng 800"_s, {}, {}, {})}} << labels
            << std::optional(u"Eng 800"_s);
        QTest::newRow("unknown source") << 42 << SourceNameTable{} << labels << none;
        QTest::newRow("entry without names")
            << 42 << SourceNameTable{{42, SourceName{}}} << labels << none;
        QTest::newRow("other source's names")
            << 42 << SourceNameTable{{43, names(u"Eng"_s, u"Panel"_s, u"Oled"_s, u"Menu"_s)}}
            << labels << none;
    }

    void displayName()
    {
        QFETCH(int, source);
        QFETCH(SourceNameTable, names);
        QFETCH(InternalSourceLabels, labels);
        QFETCH(std::optional<QString>, expected);
        QCOMPARE(quorvane::displayName(source, names, labels), expected);
    }
};

QTEST_GUILESS_MAIN(TestRecords)
#include "tst_records.moc"
