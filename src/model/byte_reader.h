#pragma once

#include <QByteArrayView>
#include <QChar>

namespace quorvane {

// Bounds-checked, big-endian access to a received datagram. Every decoder reads bytes only
// through this: a read outside the datagram yields 0 instead of touching foreign memory, and
// `contains` lets the decoders apply the protocol's own length rules before they read.
class ByteReader {
public:
    explicit ByteReader(QByteArrayView data)
        : m_data(data)
    {
    }

    qsizetype size() const { return m_data.size(); }

    bool contains(qsizetype offset, qsizetype width = 1) const
    {
        return offset >= 0 && width >= 0 && offset <= m_data.size() - width;
    }

    quint8 u8(qsizetype offset) const
    {
        return contains(offset) ? static_cast<quint8>(m_data[offset]) : quint8{0};
    }

    quint16 u16(qsizetype offset) const
    {
        return static_cast<quint16>((u8(offset) << 8) | u8(offset + 1));
    }

    quint32 u32(qsizetype offset) const { return (quint32{u16(offset)} << 16) | u16(offset + 2); }

    // The bytes [offset, offset + width) clipped to the datagram.
    QByteArrayView slice(qsizetype offset, qsizetype width) const
    {
        const qsizetype from = qBound(qsizetype{0}, offset, m_data.size());
        const qsizetype to = qBound(from, offset + width, m_data.size());
        return m_data.sliced(from, to - from);
    }

private:
    QByteArrayView m_data;
};

// The frame's texts are printable ASCII; everything else in a name field is padding or noise.
inline bool isPrintableAscii(quint8 byte)
{
    return byte >= 0x20 && byte <= 0x7E;
}

inline QChar asciiChar(quint8 byte)
{
    return QChar(char16_t{byte});
}

} // namespace quorvane
