// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <span>

namespace icawave::formats {

// Inflates the zlib stream that `from` holds from its first byte to its last into all of `to`; false when the
// stream is damaged, ends elsewhere or gives another number of bytes.
bool inflateExactly(std::span<const std::byte> from, std::span<std::byte> to);
// The first bytes of the stream alone.
bool inflateStart(std::span<const std::byte> from, std::span<std::byte> to);

} // namespace icawave::formats
