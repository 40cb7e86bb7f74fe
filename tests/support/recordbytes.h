#pragma once

#include <QByteArray>
#include <QList>

#include <optional>

/// Builds one record of a recorder's index, byte by byte, independently of the code that reads it.
struct RecordBytes
{
    QByteArray fileName = "rec";
    QByteArray channel = "Channel";
    QByteArray title = "Title";
    QByteArray description = "Description";
    int year = 2016; // 1792 to 2047
    int month = 3;   // 1 to 12
    int day = 5;     // 1 to 31
    int hour = 18;
    int minute = 0;
    int second = 7;
    std::optional<int> playPosition; // seconds; no marker without

    static constexpr int kSize = 32768;
    static constexpr int kFileNameOffset = 13;
    static constexpr int kChannelOffset = 43;
    static constexpr int kTitleOffset = 1067;
    static constexpr int kDescriptionOffset = 2091;
    static constexpr int kMarkerOffset = 16390;

    [[nodiscard]] QByteArray bytes() const
    {
        QByteArray record(kSize, '\0');
        record[0] = 0x52;
        record[1] = 0x01;
        record[2] = 0x07;
        const int values[] = {year - 1792, month - 1, day - 1, hour, minute, second};
        for (int i = 0; i < 6; ++i)
            record[3 + i] = static_cast<char>(values[i]);
        put(record, kFileNameOffset, fileName);
        put(record, kChannelOffset, channel);
        put(record, kTitleOffset, title);
        put(record, kDescriptionOffset, description);
        if (playPosition) {
            record[kMarkerOffset] = 0x6A;
            record[kMarkerOffset + 1] = static_cast<char>(*playPosition & 0xFF);
            record[kMarkerOffset + 2] = static_cast<char>(*playPosition >> 8);
        }
        return record;
    }

    static void put(QByteArray &record, int offset, const QByteArray &text)
    {
        record.replace(offset, text.size(), text);
    }
};

/// An index file with these records: the unread first 32 KiB and then one record after the other.
inline QByteArray indexBytes(const QList<RecordBytes> &records)
{
    QByteArray index(RecordBytes::kSize, '\xA5');
    for (const RecordBytes &record : records)
        index += record.bytes();
    return index;
}
