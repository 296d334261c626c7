// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>
#include <string>

namespace icawave::formats {

// Whether the tables that list a group's members (symbol table nodes) leave none out. A damaged count that is
// too small hides members, and nothing else in the file tells. But the HDF5 library fills unused entries with
// zeros, so an entry behind the count that is not zero is a hidden member. `begin`: where HDF5's bytes begin
// in the file; `header`: the group's address. Always true for groups of the later kind, which have checksums.
bool listsAllMembers(const std::string& path, std::uint64_t begin, std::uint64_t header);

} // namespace icawave::formats
