#pragma once
// What brindle-cli's commands read: archives, their entries by row or by ID, sprites and palettes.
// A name "-" is standard input. Each loader says what went wrong in one line and returns false.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "archive/EntryFiles.h"
#include "base/Files.h"
#include "cli/CliHost.h"
#include "cli/Outputs.h"
#include "slp/SLPCodeNew.h"

// The one-line reason a file can't be read: the system's own words where it has them.
std::string UnreadableReason(const std::string& path);

// The reason a line gives for a core routine's failure, told by its code alone: the system's own words
// for path when the file could not be opened, the routine's detail otherwise (which leaves out the
// file's name: the line names it already).
std::string FailureReason(const Outcome& failure, const std::string& path = {});

// An archive open with its catalogue read into DRSCatalogue and the host's rows: how every command
// that reads an archive starts.
class OpenedArchive {
public:
    // Opens path (standard input for "-") and reads its catalogue, or says in one line why not. The
    // archive becomes an input of outputs. A table filter (--table) must name one of its tables.
    OpenedArchive(const std::string& command, const std::string& path, bool force, const std::string& table, Outputs& outputs);

    bool Opened() const { return opened_; }
    ReadOnlyFile& File() { return file_; }
    CliHost& Host() { return host_; }
    const std::vector<ListRow>& Rows() const { return host_.Rows(); }

private:
    CliHost host_;
    ReadOnlyFile file_;
    bool opened_ = false;
};

// One entry of the list: its row, its kind and the name of its table as the heading shows it.
struct ListedEntry {
    size_t Row = 0;
    int32_t Kind = 0;
    std::string Table;
};

// The entries of that ID, in list order; with a table name, only that table's (any case).
std::vector<ListedEntry> EntriesWithID(const std::vector<ListRow>& rows, int32_t id, const std::string& table);

// The one entry of that ID, or nothing after a line that says why there is none or more than one.
std::optional<ListedEntry> OneEntryWithID(const std::string& command, const std::string& archive,
                                          const std::vector<ListRow>& rows, int32_t id, const std::string& table);

// A sprite into memory: the SLP file at source, standard input for "-", or, with an ID, that entry of
// the archive at source. name is what the messages call it.
bool LoadSprite(const std::string& command, const std::string& source, const std::vector<int32_t>& ids,
                const std::string& table, bool force, Outputs& outputs, SLPFile& sprite, std::string& name);

// Reads all of standard input, refusing more than maxBytes.
bool ReadStandardInput(const std::string& command, size_t maxBytes, std::vector<uint8_t>& bytes);
