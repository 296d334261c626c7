// SPDX-License-Identifier: BSD-3-Clause
#include "exchange/Hdf5Groups.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace icawave::formats {

namespace {

using Block = std::vector<char>;

class GroupTables {
public:
    GroupTables(const std::string& path, std::uint64_t begin)
        : m_file(path, std::ios::binary | std::ios::ate), m_begin(begin),
          m_end(static_cast<std::uint64_t>(std::max<std::streamoff>(0, m_file.tellg()))) {
        const Block superblock = read(0, 32);
        m_versioned = superblock.empty() || superblock[8] > 1; // later ones state no sizes of tables
        if (m_versioned) return;
        m_tableBytes = 8 + 2 * number<std::uint16_t>(superblock, 16) * entryBytes;
        m_treeBytes = 24 + 2 * number<std::uint16_t>(superblock, 18) * 16 + 8;
    }

    bool areWhole(std::uint64_t header) {
        const std::optional<std::uint64_t> root = m_versioned ? std::nullopt : tableOf(header);
        return !root || isWholeTree(*root, 255);
    }

private:
    static constexpr std::size_t entryBytes = 40;
    static constexpr std::uint32_t maxHeaderBytes = 65536;

    template <class T>
    static T number(const Block& block, std::size_t at) {
        T value;
        std::memcpy(&value, block.data() + at, sizeof value);
        return value;
    }

    Block read(std::uint64_t address, std::size_t count) { // empty when the file does not hold it
        Block block(count);
        if (address > m_end || m_begin > m_end - address || count > m_end - address - m_begin) return {};
        m_file.clear();
        if (!m_file.seekg(m_begin + address).read(block.data(), std::ssize(block))) return {};
        return block;
    }

    // The address in the message of the group's header that names its tables; further blocks may continue it.
    std::optional<std::uint64_t> tableOf(std::uint64_t header) {
        const Block start = read(header, 16);
        if (start.empty() || start[0] != 1) return std::nullopt;
        Block messages = read(header + 16, std::min(number<std::uint32_t>(start, 8), maxHeaderBytes));
        for (std::size_t at = 0; at + 24 <= messages.size();
             at += 8 + number<std::uint16_t>(messages, at + 2)) {
            const auto type = number<std::uint16_t>(messages, at);
            const auto address = number<std::uint64_t>(messages, at + 8);
            if (type == 0x11) return address;
            if (type != 0x10) continue;
            const auto bytes =
                std::min<std::uint64_t>(number<std::uint64_t>(messages, at + 16), maxHeaderBytes);
            const Block more = messages.size() < maxHeaderBytes ? read(address, bytes) : Block();
            messages.insert(messages.end(), more.begin(), more.end());
        }
        return std::nullopt;
    }

    static bool isZeroFrom(const Block& block, std::size_t at) {
        return at <= block.size() &&
               std::ranges::all_of(std::span(block).subspan(at), [](char byte) { return byte == 0; });
    }

    // Of the tree's node at the address; nodes of level 0 lead to the tables.
    bool isWholeTree(std::uint64_t address, int maxLevel) {
        const Block tree = read(address, m_treeBytes);
        if (tree.empty() || std::string_view(tree.data(), 4) != "TREE" || tree[4] != 0) return false;
        const int level = static_cast<unsigned char>(tree[5]);
        const std::size_t children = number<std::uint16_t>(tree, 6);
        if (level > maxLevel || !isZeroFrom(tree, 24 + children * 16 + 8)) return false;
        for (std::size_t k = 0; k < children; ++k) {
            const auto child = number<std::uint64_t>(tree, 32 + 16 * k);
            if (++m_visited > m_end / 64) return false; // a tree that leads back to itself
            if (!(level > 0 ? isWholeTree(child, level - 1) : isWholeTable(child))) return false;
        }
        return true;
    }
    bool isWholeTable(std::uint64_t address) {
        const Block table = read(address, m_tableBytes);
        return !table.empty() && std::string_view(table.data(), 4) == "SNOD" &&
               isZeroFrom(table, 8 + number<std::uint16_t>(table, 6) * entryBytes);
    }

    std::ifstream m_file;
    std::uint64_t m_begin, m_end;
    std::uint64_t m_visited = 0;
    std::size_t m_tableBytes = 0, m_treeBytes = 0;
    bool m_versioned;
};

} // namespace

bool listsAllMembers(const std::string& path, std::uint64_t begin, std::uint64_t header) {
    return GroupTables(path, begin).areWhole(header);
}

} // namespace icawave::formats
