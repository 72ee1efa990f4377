#pragma once
// An archive made anew from a folder laid out as extract-all lays it out: a folder a table, "01-SLP",
// in the order of their numbers, and in each a file an entry, "ID.ext", "ID-2.ext" for a second entry of
// one ID. Planning reads the folder's names and sizes and the directory of the archive it is packed like;
// writing streams the entries' bytes file to file, so that an archive of gigabytes is never held in memory.
//
// Without an archive to follow, a table's tag comes from its folder's letters (stored as the catalogue
// reads them: a blank, then the letters backwards in lower case) and its entries go by ID ascending.
// Like an archive, the archive's magic, header, tags and order of tables and entries are kept; an entry
// takes its bytes from the folder where the folder has its file, else from the archive, and a file the
// archive lacks joins its table after the others. Either way the data follow the directory back to back.

#include <array>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "archive/DRSCode.h"
#include "base/Outcome.h"

class ReadOnlyFile;

// Where a packed entry's bytes come from: a file of the folder, or the archive packed like.
struct PackedEntry {
    int32_t ID = 0;
    int64_t Size = 0;
    std::string File;        // empty: the archive's bytes at ArchiveOffset
    int64_t ArchiveOffset = 0;
};

// A file as the system knows it, whatever path or link leads to it.
struct FileIdentity {
    std::string Path;
    uint64_t Device = 0, Inode = 0;
};

struct PackedTable {
    std::array<char, 4> TypeTag{};
    std::vector<PackedEntry> Entries;
};

struct PackPlan {
    std::vector<uint8_t> CopyrightBlock;  // the magic and the rest of the block, up to the header record
    DRSHeaderRecord Header;               // TableCount and DataOffset are set when the directory is made
    std::vector<PackedTable> Tables;
    std::vector<FileIdentity> Files;      // every file of the folder, those left out too
};

// Entries to leave out: every entry of ID in the tables of that name (as the list shows it, any case).
struct PackRemoval {
    std::string Table;
    int32_t ID = 0;
};

struct PackChoice {
    const DRSDirectory* Like = nullptr;  // the archive packed like, with its size for checking its entries
    int64_t LikeSize = 0;
    std::string LikePath;                // what messages call it
    bool Year1997 = false;               // without Like: the flavour
    std::vector<PackRemoval> Removals;
};

// The stored tag of a table whose folder is named with these letters: "SLP" gives " pls".
std::array<char, 4> StoredTypeTag(const std::string& letters);

// An entry's file name read back: "-7.slp" is ID -7, copy 1; "5-2.slp" ID 5, copy 2. False for a name
// that is no ID.
bool ReadEntryName(const std::string& name, int32_t& id, int32_t& copy);

// Plans the archive of folder. Refuses, naming the file or folder in the Outcome's File, a folder that
// is not laid out so, a folder that does not match the archive's table of its number, a removal that
// leaves nothing out, and anything past the format's limits: more than MaxEntries entries or
// MaxListRows rows, an offset or a size past 2^31 - 1.
Outcome PlanArchive(const std::string& folder, const PackChoice& choice, PackPlan& plan);

// The packed archive's size in bytes.
int64_t PackedSize(const PackPlan& plan);

// Hands the packed archive to write piece by piece: its directory, then each entry's bytes, read in
// large blocks from its file or from `like` (the archive packed like; null when the plan has none). A
// file whose size is no longer what the plan found fails the write.
Outcome WritePackedArchive(const PackPlan& plan, ReadOnlyFile* like,
                           const std::function<Outcome(std::span<const uint8_t>)>& write);
