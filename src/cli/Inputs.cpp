#include "cli/Inputs.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "archive/DRSCode.h"
#include "archive/UsefulCode.h"

namespace {

// An archive's offsets are 32-bit signed: nothing past 2 GiB can be reached.
constexpr size_t MaxArchiveBytes = size_t{1} << 31;

// The one-line reason a file can't be read: the system's own words where it has them.


}  // namespace

std::string UnreadableReason(const std::string& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) return std::strerror(errno);
    if (S_ISDIR(status.st_mode)) return std::strerror(EISDIR);
    if (!S_ISREG(status.st_mode)) return "not a regular file (give - to read standard input)";
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return std::strerror(errno);
    ::close(fd);
    return "cannot be read";
}

std::string FailureReason(const Outcome& failure, const std::string& path) {
    return failure.Code == Fault::CannotOpen && !path.empty() ? UnreadableReason(path) : failure.Detail;
}

bool ReadStandardInput(const std::string& command, size_t maxBytes, std::vector<uint8_t>& bytes) {
    bytes.clear();
    uint8_t block[1 << 16];
    for (;;) {
        const ssize_t got = ::read(STDIN_FILENO, block, sizeof block);
        if (got == 0) return true;
        if (got < 0) {
            if (errno == EINTR) continue;
            Complain(command, "standard input", std::strerror(errno));
            return false;
        }
        if (bytes.size() + static_cast<size_t>(got) > maxBytes) {
            Complain(command, "standard input", "more than " + std::to_string(maxBytes) + " bytes; that is larger than Brindle reads");
            return false;
        }
        bytes.insert(bytes.end(), block, block + got);
    }
}

namespace {

// Whether the table filter names a table of the archive; says so when it doesn't.
bool TableExists(const std::string& command, const std::string& archive, const std::vector<ListRow>& rows,
                 const std::string& table) {
    if (table.empty()) return true;
    for (const ListRow& row : rows)
        if (row.ItemData == KindHeading && SameTable(TableOfHeading(row.Text), table)) return true;
    Complain(command, archive, "has no table " + table);
    return false;
}

}  // namespace

OpenedArchive::OpenedArchive(const std::string& command, const std::string& path, bool force, const std::string& table,
                             Outputs& outputs) {
    if (path == "-") {
        std::vector<uint8_t> bytes;
        if (!ReadStandardInput(command, MaxArchiveBytes, bytes)) return;
        file_.OpenBytes("standard input", std::move(bytes));
    } else if (!file_.Open(path)) {
        Complain(command, path, UnreadableReason(path));
        return;
    }
    outputs.AddInput(path);
    const CatalogueResult read = ReadDRSCatalogue(file_, host_, force);
    if (read) {
        opened_ = TableExists(command, path, host_.Rows(), table);
    } else if (read.Code == Fault::NotThisKind) {
        Complain(command, path, "not a DRS archive (use --force to read it anyway)");
    } else {
        Complain(command, path, "damaged archive: " + read.Detail);
    }
}

std::vector<ListedEntry> EntriesWithID(const std::vector<ListRow>& rows, int32_t id, const std::string& table) {
    std::vector<ListedEntry> found;
    std::string current;
    for (size_t row = 0; row < rows.size() && row < DRSCatalogue.size(); ++row) {
        if (rows[row].ItemData == KindHeading) {
            current = TableOfHeading(rows[row].Text);
            continue;
        }
        if (DRSCatalogue[row].ID != id) continue;
        if (!table.empty() && !SameTable(current, table)) continue;
        found.push_back({row, rows[row].ItemData, current});
    }
    return found;
}

std::optional<ListedEntry> OneEntryWithID(const std::string& command, const std::string& archive,
                                          const std::vector<ListRow>& rows, int32_t id, const std::string& table) {
    const std::vector<ListedEntry> found = EntriesWithID(rows, id, table);
    const std::string which = "ID " + std::to_string(id);
    if (found.empty()) {
        Complain(command, archive, "no entry has " + which + (table.empty() ? "" : " in table " + table));
        return std::nullopt;
    }
    if (found.size() == 1) return found.front();

    std::string tables, listRows;
    for (const ListedEntry& entry : found) {
        if (tables.find(entry.Table) == std::string::npos) tables += (tables.empty() ? "" : ", ") + entry.Table;
        listRows += (listRows.empty() ? "" : ", ") + std::to_string(entry.Row);
    }
    const bool oneTable = std::all_of(found.begin(), found.end(), [&](const ListedEntry& e) { return e.Table == found[0].Table; });
    if (oneTable) {
        Complain(command, archive, which + " stands " + std::to_string(found.size()) + " times in table " + found[0].Table +
                                       "; give the row instead (rows " + listRows + ")");
    } else {
        Complain(command, archive, which + " is in the tables " + tables + "; choose one with --table");
    }
    return std::nullopt;
}

bool LoadSprite(const std::string& command, const std::string& source, const std::vector<int32_t>& ids,
                const std::string& table, bool force, Outputs& outputs, SLPFile& sprite, std::string& name) {
    sprite.Bytes.clear();
    if (!ids.empty()) {
        if (ids.size() > 1) {
            Complain(command, source, "takes one sprite: give --id once");
            return false;
        }
        OpenedArchive archive(command, source, force, table, outputs);
        if (!archive.Opened()) return false;
        const std::optional<ListedEntry> entry = OneEntryWithID(command, source, archive.Rows(), ids[0], table);
        if (!entry) return false;
        name = (source == "-" ? std::string("standard input") : source) + " (ID " + std::to_string(ids[0]) + ")";
        if (entry->Kind != KindSLP) {
            Complain(command, name, "is not in a table of sprites (SLP)");
            return false;
        }
        if (Outcome read = ReadEntryBytes(archive.File(), DRSCatalogue[entry->Row], sprite.Bytes); !read) {
            Complain(command, name, read.Detail);
            return false;
        }
    } else if (source == "-") {
        name = "standard input";
        if (!ReadStandardInput(command, MaxSLPFileBytes, sprite.Bytes)) return false;
    } else {
        name = source;
        if (Outcome read = ReadWholeFile(source, MaxSLPFileBytes, sprite.Bytes); !read) {
            Complain(command, source, FailureReason(read, source));
            return false;
        }
        outputs.AddInput(source);
    }
    sprite.Path = name;
    return true;
}
