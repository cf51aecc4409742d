#pragma once

#include <QByteArray>
#include <QByteArrayView>

namespace quorvane::emulator {

// Appends big-endian numbers and raw bytes to a datagram under construction: every number on
// the wire is big-endian, and building through one helper keeps the encoders free of shifts.
class ByteWriter {
public:
    ByteWriter& u8(quint8 value)
    {
        m_bytes.append(static_cast<char>(value));
        return *this;
    }

    ByteWriter& u16(quint16 value)
    {
        u8(static_cast<quint8>(value >> 8));
        return u8(static_cast<quint8>(value & 0xFF));
    }

    ByteWriter& u32(quint32 value)
    {
        u16(static_cast<quint16>(value >> 16));
        return u16(static_cast<quint16>(value & 0xFFFF));
    }

    ByteWriter& bytes(QByteArrayView data)
    {
        m_bytes.append(data);
        return *this;
    }

    ByteWriter& zeros(qsizetype count)
    {
        m_bytes.append(count, '\0');
        return *this;
    }

    // Latin-1 text followed by NUL bytes up to `width`; the caller has checked that it fits.
    ByteWriter& paddedText(const QString& text, qsizetype width)
    {
        const QByteArray latin1 = text.toLatin1();
        m_bytes.append(latin1);
        return zeros(width - latin1.size());
    }

    qsizetype size() const { return m_bytes.size(); }
    const QByteArray& data() const { return m_bytes; }
    QByteArray take() { return std::move(m_bytes); }

private:
    QByteArray m_bytes;
};

} // namespace quorvane::emulator
