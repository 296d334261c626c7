// SPDX-License-Identifier: BSD-3-Clause
// Asks the HDF5 library, in the child process: a structure is a group, an array a dataset with its sizes in
// reverse order, and the attribute MATLAB_class says what it is.
#include "exchange/Hdf5Child.h"

#include "exchange/Hdf5Groups.h"
#include "exchange/Inflate.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#define H5_USE_110_API // later ones give no addresses
#include <hdf5.h>
#include <optional>
#include <stdexcept>
#include <string_view>

namespace icawave::formats::hdf5 {

namespace {

// Values of HDF5 are stored as they are here or swapped; the library swaps them.
static_assert(std::endian::native == std::endian::little);
static_assert(maxDimensions == H5S_MAX_RANK);

[[noreturn]] void refuse(const std::string& what) {
    throw std::runtime_error(what);
}

class Handle {
public:
    Handle(hid_t id, herr_t (*close)(hid_t)) : m_id(id), m_close(close) {
        if (id < 0) refuse("its HDF5 structure cannot be read");
    }
    ~Handle() { m_close(m_id); }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    operator hid_t() const { return m_id; }

private:
    hid_t m_id;
    herr_t (*m_close)(hid_t);
};

template <class T>
T must(T result) {
    if (result < 0) refuse("its HDF5 structure cannot be read");
    return result;
}

std::vector<hsize_t> sizesOf(hid_t space) {
    if (must(H5Sget_simple_extent_type(space)) == H5S_NULL) return {0, 0};
    std::vector<hsize_t> sizes(must(H5Sget_simple_extent_ndims(space)));
    std::vector<hsize_t> most(sizes.size());
    must(H5Sget_simple_extent_dims(space, sizes.data(), most.data()));
    for (std::size_t k = 0; k < sizes.size(); ++k) {
        if (most[k] != H5S_UNLIMITED && most[k] != sizes[k])
            refuse("an array states a size that it was not made with");
    }
    return sizes;
}

// The attribute as text, of a fixed length (ended or filled with nulls or spaces) or of any.
std::optional<std::string> textAttribute(hid_t object, const char* name) {
    if (must(H5Aexists(object, name)) == 0) return std::nullopt;
    const Handle attribute(H5Aopen(object, name, H5P_DEFAULT), H5Aclose);
    const Handle type(H5Aget_type(attribute), H5Tclose);
    const Handle space(H5Aget_space(attribute), H5Sclose);
    if (H5Tget_class(type) != H5T_STRING || must(H5Sget_simple_extent_npoints(space)) != 1)
        refuse("an attribute is no text");
    std::string text;
    if (must(H5Tis_variable_str(type))) {
        char* value = nullptr;
        must(H5Aread(attribute, type, &value));
        if (value) text = value;
        H5free_memory(value);
    } else {
        text.resize(std::min<std::size_t>(H5Tget_size(type), 256));
        if (text.size() != H5Tget_size(type)) refuse("an attribute is too long");
        must(H5Aread(attribute, type, text.data()));
        text.erase(std::min(text.find('\0'), text.find_last_not_of(' ') + 1));
    }
    return text;
}

bool flagAttribute(hid_t object, const char* name) {
    if (must(H5Aexists(object, name)) == 0) return false;
    const Handle attribute(H5Aopen(object, name, H5P_DEFAULT), H5Aclose);
    const Handle space(H5Aget_space(attribute), H5Sclose);
    if (must(H5Sget_simple_extent_npoints(space)) != 1) refuse("an attribute is no number");
    std::int64_t value = 0;
    must(H5Aread(attribute, H5T_NATIVE_INT64, &value));
    return value != 0;
}

MatClass classOf(const std::string& name) {
    using enum MatClass;
    constexpr std::array<std::pair<std::string_view, MatClass>, 15> classes{{{"double", float64},
                                                                             {"single", float32},
                                                                             {"int8", int8},
                                                                             {"uint8", uint8},
                                                                             {"int16", int16},
                                                                             {"uint16", uint16},
                                                                             {"int32", int32},
                                                                             {"uint32", uint32},
                                                                             {"int64", int64},
                                                                             {"uint64", uint64},
                                                                             {"logical", uint8},
                                                                             {"char", text},
                                                                             {"cell", cell},
                                                                             {"struct", structure},
                                                                             {"function_handle", function}}};
    const auto found =
        std::ranges::find(classes, std::string_view(name), &decltype(classes)::value_type::first);
    return found == classes.end() ? opaque : found->second;
}

struct NumberType {
    MatStorage storage;
    MatClass type; // that an array has without an attribute
    hid_t little, big;
};

std::optional<NumberType> numberType(hid_t type) {
    using S = MatStorage;
    using C = MatClass;
    const NumberType types[] = {{S::float64, C::float64, H5T_IEEE_F64LE, H5T_IEEE_F64BE},
                                {S::float32, C::float32, H5T_IEEE_F32LE, H5T_IEEE_F32BE},
                                {S::int8, C::int8, H5T_STD_I8LE, H5T_STD_I8BE},
                                {S::uint8, C::uint8, H5T_STD_U8LE, H5T_STD_U8BE},
                                {S::int16, C::int16, H5T_STD_I16LE, H5T_STD_I16BE},
                                {S::uint16, C::uint16, H5T_STD_U16LE, H5T_STD_U16BE},
                                {S::int32, C::int32, H5T_STD_I32LE, H5T_STD_I32BE},
                                {S::uint32, C::uint32, H5T_STD_U32LE, H5T_STD_U32BE},
                                {S::int64, C::int64, H5T_STD_I64LE, H5T_STD_I64BE},
                                {S::uint64, C::uint64, H5T_STD_U64LE, H5T_STD_U64BE}};
    for (const NumberType& candidate : types) {
        if (must(H5Tequal(type, candidate.little)) || must(H5Tequal(type, candidate.big))) return candidate;
    }
    return std::nullopt;
}

void unshuffle(std::vector<std::byte>& bytes, std::size_t each) {
    const std::vector<std::byte> shuffled = bytes;
    const std::size_t count = bytes.size() / each;
    for (std::size_t k = 0; k < count * each; ++k) bytes[k] = shuffled[k % each * count + k / each];
}

// Reads the values of one dataset. All of them must stand in the file: no fill values, no other files.
class ValueReader {
public:
    ValueReader(hid_t dataset, std::uint64_t fileBytes)
        : m_dataset(dataset), m_type(H5Dget_type(dataset), H5Tclose),
          m_properties(H5Dget_create_plist(dataset), H5Pclose), m_each(H5Tget_size(m_type)),
          m_fileBytes(fileBytes) {
        const Handle space(H5Dget_space(dataset), H5Sclose);
        m_sizes = sizesOf(space);
        m_bytes = m_each;
        for (const hsize_t size : m_sizes) {
            if (__builtin_mul_overflow(m_bytes, size, &m_bytes)) refuse("an array states impossible sizes");
        }
        if (m_bytes > inflatedAllowance(fileBytes)) refuse("an array is too large for a file of this size");
    }

    std::vector<std::byte> read() {
        const H5D_layout_t layout = must(H5Pget_layout(m_properties));
        if (layout == H5D_CHUNKED) {
            readChunks();
        } else if (layout == H5D_CONTIGUOUS || layout == H5D_COMPACT) {
            if (layout == H5D_CONTIGUOUS && must(H5Pget_external_count(m_properties)) != 0)
                refuse("an array lies in another file");
            if (H5Dget_storage_size(m_dataset) != m_bytes)
                refuse("an array's values are not as many as its sizes say");
            m_values.resize(m_bytes);
            if (m_bytes > 0) must(H5Dread(m_dataset, m_type, H5S_ALL, H5S_ALL, H5P_DEFAULT, m_values.data()));
        } else {
            refuse("an array lies in another file");
        }
        const Handle native(H5Tget_native_type(m_type, H5T_DIR_ASCEND), H5Tclose);
        must(H5Tconvert(m_type, native, m_bytes / m_each, m_values.data(), nullptr, H5P_DEFAULT));
        return std::move(m_values);
    }

private:
    void readChunks() {
        std::vector<hsize_t> chunk(m_sizes.size());
        must(H5Pget_chunk(m_properties, static_cast<int>(chunk.size()), chunk.data()));
        std::uint64_t chunkBytes = m_each, chunks = 1;
        for (std::size_t k = 0; k < chunk.size(); ++k) {
            if (chunk[k] == 0 || __builtin_mul_overflow(chunkBytes, chunk[k], &chunkBytes) ||
                __builtin_mul_overflow(chunks, (m_sizes[k] + chunk[k] - 1) / chunk[k], &chunks))
                refuse("an array states impossible sizes");
        }
        hsize_t stored = 0;
        const Handle space(H5Dget_space(m_dataset), H5Sclose);
        must(H5Dget_num_chunks(m_dataset, space, &stored));
        if (stored != chunks || chunkBytes > inflatedAllowance(m_fileBytes))
            refuse("an array's values are not as many as its sizes say");
        m_values.resize(m_bytes);
        std::vector<hsize_t> begin(m_sizes.size(), 0);
        for (std::uint64_t k = 0; k < chunks; ++k) {
            copyRows(readChunk(begin, chunkBytes), chunk, begin);
            for (std::size_t d = begin.size(); d-- > 0;) {
                if ((begin[d] += chunk[d]) < m_sizes[d]) break;
                begin[d] = 0;
            }
        }
    }

    std::vector<std::byte> readChunk(const std::vector<hsize_t>& begin, std::uint64_t chunkBytes) {
        hsize_t stored = 0;
        std::uint32_t skipped = 0; // one bit for each filter
        must(H5Dget_chunk_storage_size(m_dataset, begin.data(), &stored));
        if (stored == 0 || stored > m_fileBytes) refuse("a part of an array is not there");
        std::vector<std::byte> bytes(stored);
        must(H5Dread_chunk(m_dataset, H5P_DEFAULT, begin.data(), &skipped, bytes.data()));
        for (int k = must(H5Pget_nfilters(m_properties)); k-- > 0;) {
            if (skipped >> k & 1) continue;
            unsigned flags = 0, config = 0;
            std::size_t values = 0;
            const H5Z_filter_t filter = must(H5Pget_filter2(m_properties, static_cast<unsigned>(k), &flags,
                                                            &values, nullptr, 0, nullptr, &config));
            if (filter == H5Z_FILTER_DEFLATE) {
                std::vector<std::byte> inflated(chunkBytes);
                if (!inflateExactly(bytes, inflated)) refuse("a part of an array is damaged");
                bytes.swap(inflated);
            } else if (filter == H5Z_FILTER_SHUFFLE) {
                unshuffle(bytes, m_each);
            } else {
                refuse("an array is compressed by other means than deflate");
            }
        }
        if (bytes.size() != chunkBytes) refuse("a part of an array is damaged");
        return bytes;
    }

    // Copies a chunk's rows (the last index runs fastest) without what lies beyond the edges of the array.
    void copyRows(const std::vector<std::byte>& from, const std::vector<hsize_t>& chunk,
                  const std::vector<hsize_t>& begin) {
        const std::size_t last = chunk.size() - 1;
        const std::size_t rowBytes = std::min(chunk[last], m_sizes[last] - begin[last]) * m_each;
        std::vector<hsize_t> at(chunk.size(), 0);
        for (std::size_t row = 0; row * chunk[last] * m_each < from.size(); ++row) {
            bool inside = true;
            hsize_t to = 0;
            for (std::size_t d = 0; d < chunk.size(); ++d) {
                inside = inside && begin[d] + at[d] < m_sizes[d];
                to = to * m_sizes[d] + begin[d] + at[d];
            }
            if (inside)
                std::memcpy(m_values.data() + to * m_each, from.data() + row * chunk[last] * m_each,
                            rowBytes);
            for (std::size_t d = last; d-- > 0;) {
                if (++at[d] < chunk[d]) break;
                at[d] = 0;
            }
        }
    }

    hid_t m_dataset;
    Handle m_type, m_properties;
    std::size_t m_each;
    std::uint64_t m_fileBytes, m_bytes = 0;
    std::vector<hsize_t> m_sizes;
    std::vector<std::byte> m_values;
};

struct Found {
    Answer answer;
    std::vector<std::int64_t> sizes;
    std::vector<std::byte> values;
};

class Hdf5Child {
public:
    Hdf5Child(const std::string& path, std::uint64_t begin, std::uint64_t fileBytes)
        : m_file((H5Eset_auto2(H5E_DEFAULT, nullptr, nullptr),
                  H5Fopen(path.c_str(), H5F_ACC_RDONLY, H5P_DEFAULT)),
                 H5Fclose),
          m_path(path), m_begin(begin), m_fileBytes(fileBytes) {}

    Found find(const std::string& path, bool withValues) {
        if (const std::size_t slash = path.rfind('/'); slash != std::string::npos) {
            const Handle group(H5Oopen(m_file, path.substr(0, slash).c_str(), H5P_DEFAULT), H5Oclose);
            return find(group, path.substr(slash + 1), withValues);
        }
        return find(m_file, path, withValues);
    }

private:
    Found find(hid_t group, const std::string& name, bool withValues) {
        Found found;
        H5O_info_t where;
        must(H5Oget_info(group, &where));
        if (!listsAllMembers(m_path, m_begin, where.addr)) refuse("a list of members is incomplete");
        if (must(H5Lexists(group, name.c_str(), H5P_DEFAULT)) == 0) return found;
        H5L_info_t link;
        must(H5Lget_info(group, name.c_str(), &link, H5P_DEFAULT));
        if (link.type != H5L_TYPE_HARD) refuse(name + " lies elsewhere");
        const Handle object(H5Oopen(group, name.c_str(), H5P_DEFAULT), H5Oclose);
        found.answer.outcome = Outcome::found;
        const std::optional<std::string> className = textAttribute(object, "MATLAB_class");
        if (className) found.answer.type = classOf(*className);
        if (H5Iget_type(object) == H5I_GROUP)
            describeGroup(object, className.has_value(), found);
        else if (H5Iget_type(object) == H5I_DATASET)
            describeDataset(object, className.has_value(), withValues, found);
        else
            refuse(name + " is neither a group nor a dataset");
        return found;
    }

    // A single structure holds its fields; an array of them holds one array of references for each field.
    static void describeGroup(hid_t group, bool classed, Found& found) {
        H5G_info_t info;
        must(H5Gget_info(group, &info));
        found.sizes = {1, 1};
        if (must(H5Aexists(group, "MATLAB_sparse"))) {
            found.answer.type = MatClass::sparse;
            return;
        }
        if (!classed) found.answer.type = MatClass::structure;
        if (must(H5Aexists(group, "MATLAB_fields"))) {
            const Handle attribute(H5Aopen(group, "MATLAB_fields", H5P_DEFAULT), H5Aclose);
            const Handle space(H5Aget_space(attribute), H5Sclose);
            if (static_cast<hsize_t>(must(H5Sget_simple_extent_npoints(space))) != info.nlinks)
                refuse("a structure's fields are not as many as it states");
        }
        if (info.nlinks == 0) return;
        const Handle first(H5Oopen_by_idx(group, ".", H5_INDEX_NAME, H5_ITER_INC, 0, H5P_DEFAULT), H5Oclose);
        if (H5Iget_type(first) != H5I_DATASET || must(H5Aexists(first, "MATLAB_class"))) return;
        const Handle type(H5Dget_type(first), H5Tclose);
        if (H5Tget_class(type) != H5T_REFERENCE) return;
        const Handle space(H5Dget_space(first), H5Sclose);
        setSizes(sizesOf(space), found);
    }

    void describeDataset(hid_t dataset, bool classed, bool withValues, Found& found) const {
        const Handle type(H5Dget_type(dataset), H5Tclose);
        const Handle space(H5Dget_space(dataset), H5Sclose);
        setSizes(sizesOf(space), found);
        Answer& answer = found.answer;
        const std::optional<NumberType> number = numberType(type);
        if (!classed && number) answer.type = number->type;
        if (flagAttribute(dataset, "MATLAB_empty")) { // its values are its sizes
            if (!number || number->storage != MatStorage::uint64 || found.sizes[0] != 1 ||
                found.sizes.size() != 2 || found.sizes[1] < 2 || found.sizes[1] > maxDimensions)
                refuse("an empty array does not state its sizes");
            const std::vector<std::byte> stated = ValueReader(dataset, m_fileBytes).read();
            found.sizes.resize(stated.size() / sizeof(std::int64_t));
            std::memcpy(found.sizes.data(), stated.data(), stated.size());
            if (std::ranges::count(found.sizes, 0) == 0) refuse("an empty array states sizes that are not");
            if (number) answer.storage = MatStorage::uint8;
            return;
        }
        if (H5Tget_class(type) == H5T_COMPOUND) answer.isComplex = isNumeric(answer.type) || !classed;
        if (answer.isComplex) answer.type = MatClass::float64;
        if (!isNumeric(answer.type) && answer.type != MatClass::text) return;
        if (!number) {
            if (answer.isComplex) return;
            refuse("an array's values are of an unknown type");
        }
        answer.storage = number->storage;
        if (withValues) found.values = ValueReader(dataset, m_fileBytes).read();
    }

    // HDF5's order is the reverse of MATLAB's; an array of one dimension is a row.
    static void setSizes(const std::vector<hsize_t>& sizes, Found& found) {
        found.sizes.assign(sizes.rbegin(), sizes.rend());
        while (found.sizes.size() < 2) found.sizes.insert(found.sizes.begin(), 1);
    }

    Handle m_file;
    std::string m_path;
    std::uint64_t m_begin, m_fileBytes;
};

} // namespace

void serve(const std::string& path, std::uint64_t begin, std::uint64_t fileBytes, Channel& channel) {
    std::optional<Hdf5Child> file;
    for (Request request; channel.receive(&request, sizeof request);) {
        std::string array(request.pathBytes, '\0');
        if (!channel.receive(array.data(), array.size())) return;
        Found found;
        try {
            if (!file) file.emplace(path, begin, fileBytes);
            found = file->find(array, request.withValues != 0);
        } catch (const std::bad_alloc&) {
            found = {};
            found.answer.outcome = Outcome::refused;
        } catch (const std::runtime_error& e) {
            found = {};
            found.answer.outcome = Outcome::refused;
            const std::string_view what = e.what();
            found.values.resize(what.size());
            std::memcpy(found.values.data(), what.data(), what.size());
        }
        found.answer.rank = static_cast<std::uint32_t>(found.sizes.size());
        found.answer.bytes = found.values.size();
        if (!channel.send(&found.answer, sizeof found.answer) ||
            !channel.send(found.sizes.data(), found.sizes.size() * sizeof(std::int64_t)) ||
            !channel.send(found.values.data(), found.values.size()))
            return;
    }
}

} // namespace icawave::formats::hdf5
