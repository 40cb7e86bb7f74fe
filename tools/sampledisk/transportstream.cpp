#include "tools/sampledisk/transportstream.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <fstream>
#include <random>
#include <stdexcept>

namespace quorvale {

namespace fs = std::filesystem;

namespace {

constexpr int kHeaderSize = 4; // of a packet

// A packet without content, PID 0x1FFF.
constexpr std::array<char, kHeaderSize> kNullHeader{'\x47', '\x1F', '\xFF', '\x10'};

void check(const std::ios &file, const fs::path &path)
{
    if (!file)
        throw std::runtime_error("cannot read or write " + path.string());
}

void copyBytes(std::ifstream &from, const fs::path &to, std::uintmax_t size)
{
    std::ofstream piece(to, std::ios::binary | std::ios::trunc);
    std::vector<char> bytes(std::size_t{1} << 20);
    while (size > 0 && from && piece) {
        const auto count = static_cast<std::streamsize>(std::min<std::uintmax_t>(size, bytes.size()));
        from.read(bytes.data(), count);
        piece.write(bytes.data(), count);
        size -= static_cast<std::uintmax_t>(count);
    }
    piece.close();
    check(piece, to);
}

/// A stream that is open for changes; packets are counted from 0.
class PacketFile
{
public:
    explicit PacketFile(const fs::path &path)
        : m_path(path)
        , m_file(path, std::ios::binary | std::ios::in | std::ios::out)
    {
        check(m_file, m_path);
    }

    template <typename Bytes>
    void write(std::uintmax_t packet, int offset, const Bytes &bytes)
    {
        m_file.seekp(static_cast<std::streamoff>(packet * kPacketSize) + offset);
        m_file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    }

    void close()
    {
        m_file.close();
        check(m_file, m_path);
    }

private:
    fs::path m_path;
    std::fstream m_file;
};

} // namespace

void cutIntoPieces(const fs::path &path, const std::vector<fs::path> &pieces)
{
    const std::uintmax_t size = fs::file_size(path);
    const std::uintmax_t pieceSize = size / kPacketSize / pieces.size() * kPacketSize;
    std::ifstream file(path, std::ios::binary);
    check(file, path);
    std::uintmax_t left = size;
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        const std::uintmax_t count = i + 1 < pieces.size() ? pieceSize : left;
        copyBytes(file, pieces[i], count);
        left -= count;
    }
    check(file, path);
}

void damageStream(const fs::path &path)
{
    const std::uintmax_t packets = fs::file_size(path) / kPacketSize;
    const auto percent = [packets](unsigned share) { return packets * share / 100; };
    std::minstd_rand random(20); // NOLINT(cert-msc51-cpp): the same damage every time
    const auto randomByte = [&random] { return static_cast<char>(random() >> 8 & 0xFF); };
    {
        PacketFile file(path);
        for (std::uintmax_t packet = percent(45); packet < percent(60); packet += 20) {
            std::array<char, 24> errors{};
            std::generate(errors.begin(), errors.end(), randomByte);
            file.write(packet, kHeaderSize + static_cast<int>(random() % 128), errors);
        }
        for (std::uintmax_t packet = percent(70); packet < percent(74); ++packet)
            file.write(packet, 0, kNullHeader);
        for (std::uintmax_t packet = percent(85); packet < percent(86); ++packet) {
            std::array<char, kPacketSize> noise{};
            std::generate(noise.begin(), noise.end(), randomByte);
            file.write(packet, 0, noise);
        }
        file.close();
    }
    fs::resize_file(path, packets * kPacketSize - kPacketSize / 2);
}

} // namespace quorvale
