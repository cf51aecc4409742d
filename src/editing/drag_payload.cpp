#include "editing/drag_payload.h"

#include "editing/grid_geometry.h"
#include "model/bus.h"
#include "model/source_name.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonParseError>
#include <QJsonValue>
#include <cmath>

using namespace Qt::StringLiterals;

namespace quorvane {

namespace {
const QString buttonsKey = u"buttons"_s;
const QString fromBusKey = u"fromBus"_s;
const QString fromShiftKey = u"fromShift"_s;
const QString anchorButtonKey = u"anchorButton"_s;
const QString anchorShiftKey = u"anchorShift"_s;
const QString buttonKey = u"button"_s;
const QString sourceKey = u"source"_s;
const QString shiftKey = u"shift"_s;

// The largest button number a write can address: 4096 buttons of 16 parameters each.
constexpr qint64 lastAddressableButton = 4096;

// A JSON integer within [low, high]: JSON keeps numbers as doubles, so 3.5 or 1e30 are
// refused rather than rounded.
std::optional<qint64> integerIn(const QJsonObject& object, const QString& key, qint64 low,
                                qint64 high)
{
    const QJsonValue value = object.value(key);
    if (!value.isDouble())
        return std::nullopt;
    const double number = value.toDouble();
    if (!std::isfinite(number) || std::trunc(number) != number || number < double(low) ||
        number > double(high)) {
        return std::nullopt;
    }
    return static_cast<qint64>(number);
}

std::optional<int> shiftIn(const QJsonObject& object, const QString& key)
{
    const auto shift = integerIn(object, key, firstShift, lastShift);
    return shift ? std::optional<int>(static_cast<int>(*shift)) : std::nullopt;
}

std::optional<int> buttonIn(const QJsonObject& object, const QString& key)
{
    const auto button = integerIn(object, key, 1, lastAddressableButton);
    return button ? std::optional<int>(static_cast<int>(*button)) : std::nullopt;
}
} // namespace

bool MultiButtonDragData::isFromSandbox() const
{
    return fromBus == sandboxOrigin;
}

QString dragDataMimeType()
{
    return u"application/json"_s;
}

QJsonObject toJson(const MultiButtonDragData& payload)
{
    QJsonArray buttons;
    for (const ButtonData& button : payload.buttons) {
        buttons.append(QJsonObject{
            {buttonKey, button.button}, {sourceKey, button.source}, {shiftKey, button.shift}});
    }
    return QJsonObject{{buttonsKey, buttons},
                       {fromBusKey, payload.fromBus},
                       {fromShiftKey, payload.fromShift},
                       {anchorButtonKey, payload.anchorButton},
                       {anchorShiftKey, payload.anchorShift}};
}

QByteArray encodeDragData(const MultiButtonDragData& payload)
{
    return QJsonDocument(toJson(payload)).toJson(QJsonDocument::Compact);
}

std::optional<MultiButtonDragData> dragDataFromJson(const QJsonObject& object)
{
    MultiButtonDragData payload;
    const QJsonValue fromBus = object.value(fromBusKey);
    if (!fromBus.isString())
        return std::nullopt;
    payload.fromBus = fromBus.toString();
    if (!payload.isFromSandbox() && !busFromName(payload.fromBus))
        return std::nullopt;

    const auto fromShift = shiftIn(object, fromShiftKey);
    const auto anchorButton = buttonIn(object, anchorButtonKey);
    const auto anchorShift = shiftIn(object, anchorShiftKey);
    if (!fromShift || !anchorButton || !anchorShift)
        return std::nullopt;
    payload.fromShift = *fromShift;
    payload.anchorButton = *anchorButton;
    payload.anchorShift = *anchorShift;

    const QJsonValue buttons = object.value(buttonsKey);
    if (!buttons.isArray())
        return std::nullopt;
    for (const QJsonValue element : buttons.toArray()) {
        if (!element.isObject())
            return std::nullopt;
        const QJsonObject entry = element.toObject();
        const auto button = buttonIn(entry, buttonKey);
        const auto source = integerIn(entry, sourceKey, 0, lastSourceNumber);
        const auto shift = shiftIn(entry, shiftKey);
        if (!button || !source || !shift)
            return std::nullopt;
        payload.buttons.append(ButtonData{*button, *source, *shift});
    }
    return payload;
}

std::optional<MultiButtonDragData> decodeDragData(QByteArrayView json)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json.toByteArray(), &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        return std::nullopt;
    return dragDataFromJson(document.object());
}

} // namespace quorvane
