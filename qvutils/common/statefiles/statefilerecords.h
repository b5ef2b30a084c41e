#pragma once
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "qvutils/common/platform/qvexport.h"

/// A state file holds one record for each side file:
///
///   "FILENAME_VER2"  13 bytes
///   key length       32-bit signed little-endian, like all numbers
///   key              names the owner
///   name length
///   name             what the owner calls the side file
///   size
///   content
///
/// Nothing stands before, between or after the records.

/// One record's place in a state file.
struct StateFileRecord {
    std::string key;
    std::string name;
    std::int64_t offset = 0;  ///< of the content
    std::int32_t size = 0;
    bool claimed = false;  ///< an owner has asked for its key
};

/// The records of a state file, found in one pass. While an object of this class lives, every
/// SFHandler that extracts from the same FILE on the same thread finds its records here, so that
/// many owners need not each read the whole file, and it is known which records nobody claimed.
/// Reading ends at a record of size 0, and with a warning at the first damaged one.
class QVCORE_API StateFileRecords {
public:
    StateFileRecords() = default;
    StateFileRecords(const StateFileRecords&) = delete;
    StateFileRecords& operator=(const StateFileRecords&) = delete;
    ~StateFileRecords() { close(); }

    /// False when the file cannot be opened; posts no error.
    bool open(const char* path);
    /// Reads the records of a file that the caller has opened and keeps open.
    void scan(FILE* file);
    void close();
    /// The object that has scanned this file, or null.
    static StateFileRecords* of(FILE* file);

    std::size_t count() const { return records_.size(); }
    const StateFileRecord& operator[](std::size_t i) const { return records_[i]; }

    /// The records with this key, in the order of the file; marks them claimed.
    std::vector<std::size_t> claim(std::string_view key);
    /// The records that nobody has claimed.
    std::vector<std::size_t> unclaimed() const;
    /// Copies a record's content to a new file. Failures post an error and leave no file.
    bool extract(std::size_t i, const std::string& path) const;

private:
    class Reader;

    FILE* file_ = nullptr;
    bool owned_ = false;
    std::vector<StateFileRecord> records_;
    std::unordered_map<std::string, std::vector<std::size_t>> byKey_;
};

/// Writes one record with the content of the file `path`. Nothing is written, and the result is
/// true, when there is no such file, it is empty or, with a warning, has 2 GiB or more. Failures
/// post an error, so that a save does not quietly lose results.
QVCORE_API bool storeStateRecord(FILE* file, std::string_view key, std::string_view name,
                                 const std::string& path);
