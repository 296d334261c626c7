// SPDX-License-Identifier: BSD-3-Clause
#include "exchange/Inflate.h"

#include <algorithm>
#include <limits>
#define ZLIB_CONST // it takes its input as const
#include <zlib.h>

namespace icawave::formats {

namespace {

// What is left of each side is given in pieces that zlib's counters can hold.
class Stream {
public:
    Stream(std::span<const std::byte> from, std::span<std::byte> to) : m_from(from), m_to(to) {
        m_ready = ::inflateInit(&m_stream) == Z_OK;
        m_stream.next_in = reinterpret_cast<const Bytef*>(from.data());
        m_stream.next_out = reinterpret_cast<Bytef*>(to.data());
    }
    ~Stream() {
        if (m_ready) ::inflateEnd(&m_stream);
    }
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    // zlib's last result: Z_STREAM_END, or why it stopped before.
    int run() {
        int result = m_ready ? Z_OK : Z_MEM_ERROR;
        while (result == Z_OK) {
            m_stream.avail_in = piece(m_from.size() - taken());
            m_stream.avail_out = piece(m_to.size() - given());
            result = ::inflate(&m_stream, Z_NO_FLUSH);
        }
        return result;
    }
    std::size_t taken() const { return reinterpret_cast<const std::byte*>(m_stream.next_in) - m_from.data(); }
    std::size_t given() const { return reinterpret_cast<const std::byte*>(m_stream.next_out) - m_to.data(); }

private:
    static uInt piece(std::size_t bytes) {
        return static_cast<uInt>(std::min<std::size_t>(bytes, std::numeric_limits<uInt>::max()));
    }

    std::span<const std::byte> m_from;
    std::span<std::byte> m_to;
    z_stream m_stream{};
    bool m_ready;
};

} // namespace

bool inflateExactly(std::span<const std::byte> from, std::span<std::byte> to) {
    Stream stream(from, to);
    return stream.run() == Z_STREAM_END && stream.taken() == from.size() && stream.given() == to.size();
}

bool inflateStart(std::span<const std::byte> from, std::span<std::byte> to) {
    Stream stream(from, to);
    stream.run();
    return stream.given() == to.size();
}

} // namespace icawave::formats
