#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringView>
#include <optional>

namespace quorvane {

// One dragged button.
struct ButtonData {
    int button = 0;
    qint64 source = 0;
    int shift = 0;

    friend bool operator==(const ButtonData&, const ButtonData&) = default;
};

// What a drag carries, from the grid or from a sandbox slot.
struct MultiButtonDragData {
    QList<ButtonData> buttons;
    QString fromBus; // a bus name ("ME1" … "AUX"), or "SANDBOX"
    int fromShift = 0;
    int anchorButton = 0; // the grabbed cell
    int anchorShift = 0;

    bool isFromSandbox() const;

    friend bool operator==(const MultiButtonDragData&, const MultiButtonDragData&) = default;
};

// `fromBus` of a drag that started on a sandbox slot.
inline constexpr QStringView sandboxOrigin = u"SANDBOX";

// The content type the payload travels under.
QString dragDataMimeType();

QJsonObject toJson(const MultiButtonDragData& payload);
QByteArray encodeDragData(const MultiButtonDragData& payload);

// The payload of a JSON object, or none when anything is missing, of the wrong type or out of
// range. A drop hands the result straight to the frame, so nothing unwritable gets through.
std::optional<MultiButtonDragData> dragDataFromJson(const QJsonObject& object);
std::optional<MultiButtonDragData> decodeDragData(QByteArrayView json);

} // namespace quorvane
