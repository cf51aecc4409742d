// The drag payload as it travels: JSON with exactly eight key names, and what is refused.
#include "editing/drag_payload.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace quorvane;

namespace {
MultiButtonDragData rowPayload()
{
    MultiButtonDragData payload;
    payload.buttons = {{3, 31, 2}, {4, 0, 2}, {5, 65535, 2}};
    payload.fromBus = u"ME2"_s;
    payload.fromShift = 2;
    payload.anchorButton = 4;
    payload.anchorShift = 2;
    return payload;
}

QByteArray withChange(const MultiButtonDragData& payload,
                      const std::function<void(QJsonObject&)>& change)
{
    QJsonObject object = toJson(payload);
    change(object);
    return QJsonDocument(object).toJson();
}

QByteArray withButtonChange(const MultiButtonDragData& payload,
                            const std::function<void(QJsonObject&)>& change)
{
    return withChange(payload, [&](QJsonObject& object) {
        QJsonArray buttons = object.value(u"buttons"_s).toArray();
        QJsonObject first = buttons.first().toObject();
        change(first);
        buttons.replace(0, first);
        object.insert(u"buttons"_s, buttons);
    });
}
} // namespace

class TestDragPayload : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void roundTripsUnchanged()
    {
        const MultiButtonDragData payload = rowPayload();
        const QByteArray json = encodeDragData(payload);
        QCOMPARE(decodeDragData(json), payload);

        MultiButtonDragData sandbox;
        sandbox.buttons = {{1, 705, 1}};
        sandbox.fromBus = u"SANDBOX"_s;
        sandbox.fromShift = 1;
        sandbox.anchorButton = 1;
        sandbox.anchorShift = 1;
        QVERIFY(sandbox.isFromSandbox());
        QCOMPARE(decodeDragData(encodeDragData(sandbox)), sandbox);
    }

    void usesExactlyTheEightKeyNamesWithIntegers()
    {
        const QJsonDocument document = QJsonDocument::fromJson(encodeDragData(rowPayload()));
        QVERIFY(document.isObject());
        const QJsonObject object = document.object();
        QCOMPARE(object.keys(), QStringList({u"anchorButton"_s, u"anchorShift"_s, u"buttons"_s,
                                             u"fromBus"_s, u"fromShift"_s}));
        QCOMPARE(object.value(u"fromBus"_s).toString(), u"ME2"_s);
        QCOMPARE(object.value(u"fromShift"_s).toInteger(), 2);
        QCOMPARE(object.value(u"anchorButton"_s).toInteger(), 4);
        QCOMPARE(object.value(u"anchorShift"_s).toInteger(), 2);
        const QJsonArray buttons = object.value(u"buttons"_s).toArray();
        QCOMPARE(buttons.size(), 3);
        for (const QJsonValue button : buttons)
            QCOMPARE(button.toObject().keys(), QStringList({u"button"_s, u"shift"_s, u"source"_s}));
        const QJsonObject last = buttons.last().toObject();
        QCOMPARE(last.value(u"button"_s).toInteger(), 5);
        QCOMPARE(last.value(u"source"_s).toInteger(), 65535);
        QCOMPARE(last.value(u"shift"_s).toInteger(), 2);
        // Written as JSON integers, not as 5.0.
        QVERIFY(encodeDragData(rowPayload()).contains(R"("source":65535)"));
    }

    void travelsAsJson() { QCOMPARE(dragDataMimeType(), u"application/json"_s); }

    void acceptsTheKeysInAnyOrderAndBlanks()
    {
        const QByteArray json = R"( { "anchorShift": 1, "anchorButton": 7,
            "buttons": [ { "shift": 1, "source": 12, "button": 7 } ],
            "fromShift": 1, "fromBus": "AUX" } )";
        const auto payload = decodeDragData(json);
        QVERIFY(payload);
        QCOMPARE(payload->buttons, QList<ButtonData>({{7, 12, 1}}));
        QCOMPARE(payload->fromBus, u"AUX"_s);
        QCOMPARE(payload->anchorButton, 7);
    }

    void refusesWhatIsNotAPayloadObject_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("not JSON") << QByteArray("buttons: 3");
        QTest::newRow("cut short") << encodeDragData(rowPayload()).chopped(2);
        QTest::newRow("array") << QByteArray("[1, 2, 3]");
        QTest::newRow("text") << QByteArray(R"("ME1")");
        QTest::newRow("null") << QByteArray("null");
        QTest::newRow("binary") << QByteArray("\x00\xff\x13\x85", 4);
    }

    void refusesWhatIsNotAPayloadObject()
    {
        QFETCH(QByteArray, json);
        QCOMPARE(decodeDragData(json), std::nullopt);
    }

    void refusesAMissingKey_data()
    {
        QTest::addColumn<QString>("key");
        for (const QString& key :
             {u"buttons"_s, u"fromBus"_s, u"fromShift"_s, u"anchorButton"_s, u"anchorShift"_s}) {
            QTest::newRow(qPrintable(key)) << key;
        }
    }

    void refusesAMissingKey()
    {
        QFETCH(QString, key);
        const QByteArray json =
            withChange(rowPayload(), [&](QJsonObject& object) { object.remove(key); });
        QCOMPARE(decodeDragData(json), std::nullopt);
    }

    void refusesAButtonWithAMissingKey_data()
    {
        QTest::addColumn<QString>("key");
        for (const QString& key : {u"button"_s, u"source"_s, u"shift"_s})
            QTest::newRow(qPrintable(key)) << key;
    }

    void refusesAButtonWithAMissingKey()
    {
        QFETCH(QString, key);
        const QByteArray json =
            withButtonChange(rowPayload(), [&](QJsonObject& button) { button.remove(key); });
        QCOMPARE(decodeDragData(json), std::nullopt);
    }

    void refusesWrongTypesAndUnwritableValues_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QJsonValue>("value");
        QTest::addColumn<bool>("inButton");
        QTest::newRow("fromBus number") << u"fromBus"_s << QJsonValue(1) << false;
        QTest::newRow("fromBus unknown") << u"fromBus"_s << QJsonValue(u"ME5"_s) << false;
        QTest::newRow("fromBus lower case") << u"fromBus"_s << QJsonValue(u"me1"_s) << false;
        QTest::newRow("fromShift text") << u"fromShift"_s << QJsonValue(u"2"_s) << false;
        QTest::newRow("fromShift 5") << u"fromShift"_s << QJsonValue(5) << false;
        QTest::newRow("anchorButton 0") << u"anchorButton"_s << QJsonValue(0) << false;
        QTest::newRow("anchorButton fraction") << u"anchorButton"_s << QJsonValue(2.5) << false;
        QTest::newRow("anchorShift null") << u"anchorShift"_s << QJsonValue() << false;
        QTest::newRow("buttons object") << u"buttons"_s << QJsonValue(QJsonObject()) << false;
        QTest::newRow("buttons of numbers")
            << u"buttons"_s << QJsonValue(QJsonArray{1, 2}) << false;
        QTest::newRow("source negative") << u"source"_s << QJsonValue(-1) << true;
        QTest::newRow("source 65536") << u"source"_s << QJsonValue(65536) << true;
        QTest::newRow("source huge") << u"source"_s << QJsonValue(1e30) << true;
        QTest::newRow("source bool") << u"source"_s << QJsonValue(true) << true;
        QTest::newRow("button 0") << u"button"_s << QJsonValue(0) << true;
        QTest::newRow("button 4097") << u"button"_s << QJsonValue(4097) << true;
        QTest::newRow("shift 0") << u"shift"_s << QJsonValue(0) << true;
        QTest::newRow("shift text") << u"shift"_s << QJsonValue(u"one"_s) << true;
    }

    void refusesWrongTypesAndUnwritableValues()
    {
        QFETCH(QString, key);
        QFETCH(QJsonValue, value);
        QFETCH(bool, inButton);
        const auto set = [&](QJsonObject& object) { object.insert(key, value); };
        const QByteArray json =
            inButton ? withButtonChange(rowPayload(), set) : withChange(rowPayload(), set);
        QCOMPARE(decodeDragData(json), std::nullopt);
    }

    void acceptsTheLimits()
    {
        MultiButtonDragData payload = rowPayload();
        payload.buttons = {{4096, 0, 1}, {1, 65535, 4}};
        QCOMPARE(decodeDragData(encodeDragData(payload)), payload);
        payload.buttons.clear();
        // No buttons is a well-formed payload; a drop of it is refused later.
        QCOMPARE(decodeDragData(encodeDragData(payload)), payload);
    }
};

QTEST_GUILESS_MAIN(TestDragPayload)
#include "tst_drag_payload.moc"
