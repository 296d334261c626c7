// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>
#include <string>

namespace icawave::formats {

// Whether the tables that list a group's members leave none out. They are the one part of HDF5 that nothing
// else vouches for: a count that is too small hides members. But its library fills what a table does not use
// with zeros, so that members behind the count show. `begin`: where HDF5's bytes begin in the file; `header`:
// the group's address. True for groups of the later kind as well, which have checksums.
bool listsAllMembers(const std::string& path, std::uint64_t begin, std::uint64_t header);

} // namespace icawave::formats
