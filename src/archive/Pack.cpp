#include "archive/Pack.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <filesystem>
#include <map>
#include <utility>

#include "archive/EntryFiles.h"
#include "base/Files.h"

namespace fs = std::filesystem;

namespace {

constexpr int64_t LastOffset = 2147483647;  // offsets and sizes are 32-bit signed
constexpr int64_t RecordSize = 12;          // a table record, an entry record
constexpr int64_t HeaderRecordBytes = 24;
constexpr size_t BlockBytes = size_t{1} << 20;

Outcome Refuse(Fault code, std::string detail, std::string where) {
    return Outcome::Failure(code, std::move(detail), std::move(where));
}

// One file of a table's folder, by the ID and copy its name gives.
struct FolderEntry {
    int32_t ID = 0;
    int32_t Copy = 1;
    int64_t Size = 0;
    std::string Path;
    uint64_t Device = 0, Inode = 0;
};

struct FolderTable {
    int Number = 0;
    std::string Name, Letters, Path;
    std::vector<FolderEntry> Entries;  // by ID, then copy
};

bool Hidden(const std::string& name) { return name.starts_with("."); }

bool IsLetterOrDigit(char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

// "01-SLP": its number and its letters; false for a name that is not so.
bool ReadTableFolderName(const std::string& name, int& number, std::string& letters) {
    const char* end = name.data() + name.size();
    const auto [at, error] = std::from_chars(name.data(), end, number);
    if (error != std::errc() || at == name.data() || number < 1) return false;
    if (at == end) return letters.clear(), true;
    if (*at != '-') return false;
    letters.assign(at + 1, end);
    return std::all_of(letters.begin(), letters.end(), IsLetterOrDigit);
}

Outcome ReadTableFolder(const fs::path& path, FolderTable& table) {
    std::error_code error;
    for (const fs::directory_entry& item : fs::directory_iterator(path, error)) {
        const std::string name = item.path().filename().string();
        if (Hidden(name)) continue;
        FolderEntry entry;
        entry.Path = item.path().string();
        if (!ReadEntryName(name, entry.ID, entry.Copy)) return Refuse(Fault::NotThisKind, "the file's name is no ID", entry.Path);
        struct stat status {};  // one look at each file: what it is, its size, and who it is
        if (::stat(entry.Path.c_str(), &status) != 0) return Refuse(Fault::CannotRead, std::strerror(errno), entry.Path);
        if (!S_ISREG(status.st_mode)) return Refuse(Fault::NotThisKind, "not a file", entry.Path);
        if (status.st_size > LastOffset) {
            return Refuse(Fault::OutOfLimits, std::to_string(status.st_size) + " bytes, more than the 2147483647 an entry can have",
                          entry.Path);
        }
        entry.Size = status.st_size;
        entry.Device = status.st_dev, entry.Inode = status.st_ino;
        table.Entries.push_back(std::move(entry));
    }
    if (error) return Refuse(Fault::CannotRead, error.message(), path.string());
    const auto key = [](const FolderEntry& e) { return std::pair(e.ID, e.Copy); };
    std::sort(table.Entries.begin(), table.Entries.end(), [&](const auto& a, const auto& b) { return key(a) < key(b); });
    for (size_t i = 1; i < table.Entries.size(); ++i) {
        if (key(table.Entries[i]) == key(table.Entries[i - 1])) {
            return Refuse(Fault::NotThisKind, "two files stand for one entry: " + fs::path(table.Entries[i - 1].Path).filename().string(),
                          table.Entries[i].Path);
        }
    }
    return Outcome::Success();
}

// The table folders of folder, by number.
Outcome ReadFolder(const std::string& folder, std::vector<FolderTable>& tables) {
    std::error_code error;
    for (const fs::directory_entry& item : fs::directory_iterator(folder, error)) {
        FolderTable table;
        table.Name = item.path().filename().string();
        table.Path = item.path().string();
        if (Hidden(table.Name)) continue;
        if (!item.is_directory(error) || !ReadTableFolderName(table.Name, table.Number, table.Letters)) {
            return Refuse(Fault::NotThisKind, "not a table's folder, named by its number and tag as 01-SLP", table.Path);
        }
        if (Outcome read = ReadTableFolder(item.path(), table); !read) return read;
        tables.push_back(std::move(table));
    }
    if (error) return Refuse(Fault::CannotOpen, error.message(), folder);
    std::sort(tables.begin(), tables.end(), [](const auto& a, const auto& b) { return a.Number < b.Number; });
    for (size_t i = 1; i < tables.size(); ++i) {
        if (tables[i].Number == tables[i - 1].Number) {
            return Refuse(Fault::NotThisKind, "two folders stand for table " + std::to_string(tables[i].Number), tables[i].Path);
        }
    }
    return Outcome::Success();
}

// A table that only the folder has: its tag from the folder's letters.
Outcome NewTable(const FolderTable& folder, PackedTable& table) {
    if (folder.Letters.empty()) return Refuse(Fault::NotThisKind, "the folder's name has no letters for a tag", folder.Path);
    if (folder.Letters.size() > 3) return Refuse(Fault::NotThisKind, "a tag has at most three letters", folder.Path);
    table.TypeTag = StoredTypeTag(folder.Letters);
    for (const FolderEntry& entry : folder.Entries) table.Entries.push_back({entry.ID, entry.Size, entry.Path, 0});
    return Outcome::Success();
}

// A table of the archive packed like, its entries' bytes from the folder where it has their files.
Outcome TableLike(const DRSTable& like, size_t position, const FolderTable* folder, const PackChoice& choice, PackedTable& table) {
    table.TypeTag = like.Record.TypeTag;
    const std::string heading = "--" + ReverseTypeTag({like.Record.TypeTag.data(), 4}) + " (0)--";
    if (folder && !SameTable(folder->Name, TableFolderName(static_cast<int>(position + 1), heading))) {
        return Refuse(Fault::NotThisKind,
                      "table " + std::to_string(position + 1) + " of the archive is " + TableFolderName(static_cast<int>(position + 1), heading),
                      folder->Path);
    }
    std::map<std::pair<int32_t, int32_t>, const FolderEntry*> files;
    if (folder)
        for (const FolderEntry& entry : folder->Entries) files[{entry.ID, entry.Copy}] = &entry;
    std::map<int32_t, int32_t> copies;
    for (const DRSEntryRecord& entry : like.Entries) {
        const auto file = files.find({entry.ID, ++copies[entry.ID]});
        if (file != files.end()) {
            table.Entries.push_back({entry.ID, file->second->Size, file->second->Path, 0});
            files.erase(file);
        } else if (entry.Offset < 0 || entry.Size < 0 || int64_t{entry.Offset} + entry.Size > choice.LikeSize) {
            return Refuse(Fault::Damaged, "entry " + std::to_string(entry.ID) + " of table " + std::to_string(position + 1) +
                                              " lies outside the archive", choice.LikePath);
        } else {
            table.Entries.push_back({entry.ID, entry.Size, {}, entry.Offset});
        }
    }
    if (folder)  // the files the archive lacks, after its own
        for (const FolderEntry& entry : folder->Entries)
            if (files.contains({entry.ID, entry.Copy})) table.Entries.push_back({entry.ID, entry.Size, entry.Path, 0});
    return Outcome::Success();
}

Outcome PlanTables(const std::vector<FolderTable>& folders, const PackChoice& choice, PackPlan& plan) {
    const size_t liked = choice.Like ? choice.Like->Tables.size() : 0;
    auto folder = folders.begin();
    for (size_t t = 0; t < liked; ++t) {
        const bool has = folder != folders.end() && folder->Number == static_cast<int>(t + 1);
        plan.Tables.emplace_back();
        if (Outcome made = TableLike(choice.Like->Tables[t], t, has ? &*folder : nullptr, choice, plan.Tables.back()); !made) return made;
        if (has) ++folder;
    }
    for (; folder != folders.end(); ++folder) {
        plan.Tables.emplace_back();
        if (Outcome made = NewTable(*folder, plan.Tables.back()); !made) return made;
    }
    return Outcome::Success();
}

// Leaves out the entries of each removal; one that leaves nothing out is refused, as a slip of the hand.
Outcome Remove(const std::vector<PackRemoval>& removals, PackPlan& plan) {
    for (const PackRemoval& removal : removals) {
        size_t removed = 0;
        for (PackedTable& table : plan.Tables) {
            if (!SameTable(TableNameOfTag(table.TypeTag), removal.Table)) continue;
            removed += std::erase_if(table.Entries, [&](const PackedEntry& entry) { return entry.ID == removal.ID; });
        }
        if (removed == 0) {
            return Refuse(Fault::Missing, "no entry " + removal.Table + ":" + std::to_string(removal.ID) + " to remove", {});
        }
    }
    return Outcome::Success();
}

int64_t DirectorySize(const PackPlan& plan, size_t entries) {
    return static_cast<int64_t>(plan.CopyrightBlock.size()) + HeaderRecordBytes +
           RecordSize * static_cast<int64_t>(plan.Tables.size() + entries);
}

Outcome CheckLimits(const std::string& folder, const PackChoice& choice, const PackPlan& plan) {
    size_t entries = 0;
    for (const PackedTable& table : plan.Tables) entries += table.Entries.size();
    if (entries > size_t(MaxEntries)) {
        return Refuse(Fault::OutOfLimits, std::to_string(entries) + " entries, more than the 32767 an archive holds", folder);
    }
    if (entries + plan.Tables.size() > size_t(MaxListRows)) {
        return Refuse(Fault::OutOfLimits, std::to_string(entries + plan.Tables.size()) +
                                              " tables and entries, more than the 32766 rows an archive's list holds", folder);
    }
    int64_t offset = DirectorySize(plan, entries);
    for (const PackedTable& table : plan.Tables) {
        for (const PackedEntry& entry : table.Entries) {
            const std::string& where = entry.File.empty() ? choice.LikePath : entry.File;
            if (offset > LastOffset) {
                return Refuse(Fault::OutOfLimits, "entry " + std::to_string(entry.ID) + " would start at byte " + std::to_string(offset) +
                                                      ", past the 2147483647 an offset reaches", where);
            }
            offset += entry.Size;
        }
    }
    return Outcome::Success();
}

void PutI32(std::vector<uint8_t>& bytes, int64_t value) {
    const auto v = static_cast<uint32_t>(value);
    for (int shift = 0; shift < 32; shift += 8) bytes.push_back(static_cast<uint8_t>(v >> shift));
}

// Magic and copyright block, header record, table records, entry records: the data follow at once.
std::vector<uint8_t> DirectoryBytes(const PackPlan& plan) {
    size_t entries = 0;
    for (const PackedTable& table : plan.Tables) entries += table.Entries.size();
    std::vector<uint8_t> bytes = plan.CopyrightBlock;
    const int64_t dataAt = DirectorySize(plan, entries);
    bytes.insert(bytes.end(), plan.Header.Version.begin(), plan.Header.Version.end());
    bytes.insert(bytes.end(), plan.Header.ArchiveType.begin(), plan.Header.ArchiveType.end());
    PutI32(bytes, static_cast<int64_t>(plan.Tables.size()));
    PutI32(bytes, dataAt);
    int64_t recordsAt = static_cast<int64_t>(bytes.size()) + RecordSize * static_cast<int64_t>(plan.Tables.size());
    for (const PackedTable& table : plan.Tables) {
        bytes.insert(bytes.end(), table.TypeTag.begin(), table.TypeTag.end());
        PutI32(bytes, recordsAt);
        PutI32(bytes, static_cast<int64_t>(table.Entries.size()));
        recordsAt += RecordSize * static_cast<int64_t>(table.Entries.size());
    }
    int64_t offset = dataAt;
    for (const PackedTable& table : plan.Tables) {
        for (const PackedEntry& entry : table.Entries) {
            PutI32(bytes, entry.ID);
            PutI32(bytes, offset);
            PutI32(bytes, entry.Size);
            offset += entry.Size;
        }
    }
    return bytes;
}

}  // namespace

std::array<char, 4> StoredTypeTag(const std::string& letters) {
    std::array<char, 4> tag{' ', ' ', ' ', ' '};
    for (size_t i = 0; i < letters.size() && i < 3; ++i) {
        const char c = letters[i];
        tag[3 - i] = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return tag;
}

bool ReadEntryName(const std::string& name, int32_t& id, int32_t& copy) {
    const std::string stem = name.substr(0, name.find('.'));
    const char* end = stem.data() + stem.size();
    const auto [at, error] = std::from_chars(stem.data(), end, id);
    if (error != std::errc() || at == stem.data()) return false;
    copy = 1;
    if (at == end) return true;
    if (*at != '-') return false;
    const auto [last, copyError] = std::from_chars(at + 1, end, copy);
    return copyError == std::errc() && last == end && at[1] != '-' && copy >= 2;
}

Outcome PlanArchive(const std::string& folder, const PackChoice& choice, PackPlan& plan) {
    std::vector<FolderTable> folders;
    if (Outcome read = ReadFolder(folder, folders); !read) return read;

    PackPlan made;
    if (choice.Like) {
        made.CopyrightBlock = choice.Like->CopyrightBlock;
        made.Header = choice.Like->Header;
    } else {
        const std::string_view magic = choice.Year1997 ? Magic1997 : Magic2001;
        made.CopyrightBlock.assign(magic.begin(), magic.end());
        made.CopyrightBlock.resize(static_cast<size_t>(choice.Year1997 ? HeaderAt1997 : HeaderAt2001));
        made.Header.Version = {'1', '.', '0', '0'};
        constexpr std::string_view ours = "brindle";
        std::copy(ours.begin(), ours.end(), made.Header.ArchiveType.begin());
    }
    if (Outcome tables = PlanTables(folders, choice, made); !tables) return tables;
    if (Outcome removed = Remove(choice.Removals, made); !removed) return removed;
    if (Outcome fits = CheckLimits(folder, choice, made); !fits) return fits;
    for (const FolderTable& table : folders)
        for (const FolderEntry& entry : table.Entries) made.Files.push_back({entry.Path, entry.Device, entry.Inode});
    plan = std::move(made);
    return Outcome::Success();
}

int64_t PackedSize(const PackPlan& plan) {
    size_t entries = 0;
    int64_t data = 0;
    for (const PackedTable& table : plan.Tables) {
        entries += table.Entries.size();
        for (const PackedEntry& entry : table.Entries) data += entry.Size;
    }
    return DirectorySize(plan, entries) + data;
}

Outcome WritePackedArchive(const PackPlan& plan, ReadOnlyFile* like,
                           const std::function<Outcome(std::span<const uint8_t>)>& write) {
    // Small entries gather in one block, so that a folder of many small files costs few writes.
    std::vector<uint8_t> block = DirectoryBytes(plan);
    size_t used = block.size();
    block.resize(std::max(BlockBytes, used));
    // Fills the block from read(bytes, count) until size bytes have come, writing it whenever it is full.
    const auto take = [&](int64_t size, const std::function<int64_t(uint8_t*, size_t, int64_t)>& read) {
        for (int64_t done = 0; done < size;) {
            if (used == block.size()) {
                if (Outcome written = write({block.data(), used}); !written) return written;
                used = 0;
            }
            const size_t want = static_cast<size_t>(std::min<int64_t>(size - done, static_cast<int64_t>(block.size() - used)));
            const int64_t got = read(block.data() + used, want, done);
            if (got <= 0) return Refuse(Fault::CannotRead, got < 0 ? std::strerror(errno) : "it ended early", {});
            used += static_cast<size_t>(got);
            done += got;
        }
        return Outcome::Success();
    };
    for (const PackedTable& table : plan.Tables) {
        for (const PackedEntry& entry : table.Entries) {
            Outcome taken;
            if (entry.File.empty()) {
                if (!like) return Refuse(Fault::Missing, "no archive to take entry " + std::to_string(entry.ID) + " from", {});
                taken = take(entry.Size, [&](uint8_t* bytes, size_t count, int64_t done) {
                    return static_cast<int64_t>(like->ReadAt(entry.ArchiveOffset + done, {bytes, count}));
                });
                if (!taken && taken.File.empty()) taken.File = like->Path();
            } else {
                // A plain descriptor, read from start to end: the fewest calls of the system a file can cost.
                const int fd = ::open(entry.File.c_str(), O_RDONLY | O_CLOEXEC);
                struct stat status {};
                if (fd < 0 || ::fstat(fd, &status) != 0) {
                    taken = Refuse(Fault::CannotOpen, std::strerror(errno), entry.File);
                } else if (status.st_size != entry.Size) {
                    taken = Refuse(Fault::CannotRead, "changed while it was being packed", entry.File);
                } else {
                    taken = take(entry.Size, [&](uint8_t* bytes, size_t count, int64_t) {
                        ssize_t got;
                        while ((got = ::read(fd, bytes, count)) < 0 && errno == EINTR) {}
                        return static_cast<int64_t>(got);
                    });
                    if (!taken && taken.File.empty()) taken.File = entry.File;
                }
                if (fd >= 0) ::close(fd);
            }
            if (!taken) return taken;
        }
    }
    return used > 0 ? write({block.data(), used}) : Outcome::Success();
}
