#include "button_data_decoder.h"

#include "button_address.h"
#include "byte_reader.h"
#include "diagnostics/debug_logger.h"
#include "source_name.h"

using namespace Qt::StringLiterals;

namespace quorvane {

// A button record, found anywhere in the datagram (the header is not relied upon):
//
//   +0  13 85        marker
//   +2  .. ..        not examined
//   +4  89           marker
//   +5  FF FF        button field (shift and button, see button_address.h)
//   +7  BB           bus code
//   +8  .. ..        not examined
//   +10 SS SS SS SS  source number; 0 = unassigned, ffffffff / fffffffe = no assignment
//
// The field is 32 bits wide, but no source beyond lastSourceNumber can be written back or kept
// in a show file: such a record was damaged on the way, so it answers nothing and is asked for
// again like a button that stayed silent.
namespace {
constexpr qsizetype recordSize = 14;
constexpr qsizetype minimumDatagram = 20;
constexpr int parsedLinesPerDatagram = 5;
constexpr quint32 notAnAssignment = 0xFFFFFFFF;
constexpr quint32 notAnAssignmentEither = 0xFFFFFFFE;

QString buttonText(Bus bus, ButtonPosition position)
{
    return buttonName(bus, position.shift, position.button);
}
} // namespace

ButtonDataResult parseButtonData(QByteArrayView datagram, int buttonCount, MappingTable& mappings,
                                 DebugLogger& logger, ButtonFields fields)
{
    const ByteReader bytes(datagram);
    if (bytes.size() < minimumDatagram) {
        logger.warn(u"parseButtonData: data too short ("_s + QString::number(bytes.size()) +
                    u" bytes)"_s);
        return {};
    }

    ButtonDataResult result;
    int records = 0;
    // The scan resumes two bytes after a record's start, not after its end: marker bytes
    // inside a record's data are looked at again, as the frame's own tools do.
    for (qsizetype p = 0; p < bytes.size() - recordSize;) {
        if (bytes.u8(p) != 0x13 || bytes.u8(p + 1) != 0x85) {
            p += 1;
            continue;
        }
        const qsizetype next = p + 2;
        if (!bytes.contains(p, recordSize) || bytes.u8(p + 4) != 0x89) {
            p = next;
            continue;
        }
        const quint16 field = bytes.u16(p + 5);
        const quint8 code = bytes.u8(p + 7);
        const quint32 source = bytes.u32(p + 10);
        p = next;

        const std::optional<ButtonPosition> position = locateButton(field, buttonCount);
        if (!position ||
            (fields == ButtonFields::exactNumbers && !isButtonNumber(field, buttonCount))) {
            continue;
        }
        const std::optional<Bus> bus = busFromCode(code);
        if (!bus) {
            logger.warn(u"Unknown bus field: 0x"_s + QString::asprintf("%02x", code));
            continue;
        }
        const bool noAssignment = source == notAnAssignment || source == notAnAssignmentEither;
        if (!noAssignment && source > quint32{lastSourceNumber}) {
            logger.warn(u"parseButtonData: "_s + buttonText(*bus, *position) + u" source "_s +
                        QString::number(source) + u" is outside 0-"_s +
                        QString::number(lastSourceNumber) + u", record ignored as corrupt"_s);
            continue;
        }
        result.answers.append({*bus, position->shift, position->button, source});
        if (noAssignment)
            continue;

        const QString key = mappingKey(*bus, buttonCount, position->shift, position->button);
        if (source != 0) {
            mappings.insert(key, ButtonMapping{QUuid::createUuid(), *bus, position->shift,
                                               position->button, qint64{source}});
            result.mappingsChanged = true;
            ++records;
            if (records <= parsedLinesPerDatagram) {
                logger.info(u"Parsed: "_s + buttonText(*bus, *position) + u" = "_s +
                            QString::number(source));
            }
        } else if (mappings.remove(key) > 0) {
            result.mappingsChanged = true;
            ++records;
            logger.info(u"Removed: "_s + buttonText(*bus, *position) + u" (source=0)"_s);
        }
    }

    if (records >= 1) {
        logger.info(u"parseButtonData: found "_s + QString::number(records) +
                    u" button mappings in packet"_s);
    }
    return result;
}

} // namespace quorvane
