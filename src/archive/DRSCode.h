#pragma once
// DRS archives: the catalogue reader and the copy of an entry into a file of its own.
//
// File layout (all numbers 32-bit signed little-endian, offsets from the start of the file):
//   0      28 bytes      magic text naming the flavour
//   H      24 bytes      DRSHeaderRecord (H = 60 or 40, by flavour)
//   H+24   12 x tables   DRSTableRecord
//   ...    12 x entries  DRSEntryRecord, one run per table at its EntriesOffset

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "archive/UsefulCode.h"
#include "base/Host.h"
#include "base/Outcome.h"

class ReadOnlyFile;

// Row kinds, kept in the list's ItemData and not in the catalogue.
inline constexpr int32_t KindHeading = 0;
inline constexpr int32_t KindSLP = 1;
inline constexpr int32_t KindWAV = 2;
inline constexpr int32_t KindBIN = 3;
inline constexpr int32_t KindOther = -1;

inline constexpr std::string_view Magic2001 = "Copyright (c) 2001 Quillmark";
inline constexpr std::string_view Magic1997 = "Copyright (c) 1997 Sandbank ";
inline constexpr int32_t HeaderAt2001 = 60;
inline constexpr int32_t HeaderAt1997 = 40;

// Where the header of an archive that starts with these bytes stands, by its flavour's magic text:
// HeaderAt2001, HeaderAt1997, or 0 for bytes of neither flavour.
constexpr int32_t HeaderAtOfMagic(std::string_view start) {
    return start.starts_with(Magic2001) ? HeaderAt2001 : start.starts_with(Magic1997) ? HeaderAt1997 : 0;
}

inline constexpr std::string_view InvalidFormatQuestion =
    "Invalid file format - continue anyway? (may cause lots of horrible errors)";

// Limits set by the 16-bit counters of the list and the catalogue.
inline constexpr int32_t MaxEntries = 32767;
inline constexpr int32_t MaxListRows = 32766;

// Entries are copied in blocks of 1024 bytes, counted in 16 bits: an entry must be smaller than this.
inline constexpr int32_t BlockSize = 1024;
inline constexpr int32_t EntrySizeLimit = 32767 * BlockSize;  // 33,553,408

struct DRSHeaderRecord {
    std::array<char, 4> Version{};
    std::array<char, 12> ArchiveType{};
    int32_t TableCount = 0;
    int32_t DataOffset = 0;
};

struct DRSTableRecord {
    std::array<char, 4> TypeTag{};
    int32_t EntriesOffset = 0;
    int32_t EntryCount = 0;
};

struct DRSEntryRecord {
    int32_t ID = 0;
    int32_t Offset = 0;
    int32_t Size = 0;
};

// How a catalogue read ended, by its Code: None when it is built; NotThisKind for a file of neither
// flavour that may not be read as one, or no sprite; Damaged when the directory is cut off or out of
// range.
using CatalogueResult = Outcome;

// The 16-bit numbers the catalogue's readers are known by: 0 built, 1 refused, 2 damaged.
inline constexpr int16_t CatalogueBuilt = 0;
inline constexpr int16_t CatalogueRefused = 1;
inline constexpr int16_t CatalogueDamaged = 2;
inline int16_t CatalogueCode(const CatalogueResult& result) {
    return result.Ok() ? CatalogueBuilt : result.Code == Fault::NotThisKind ? CatalogueRefused : CatalogueDamaged;
}

// An archive's directory as the file holds it, read without the list or the catalogue: the bytes
// before the header record (the flavour's magic and the rest of its copyright block), the header
// record, and each table's record with its entries, in file order.
struct DRSTable {
    DRSTableRecord Record;
    std::vector<DRSEntryRecord> Entries;
};

struct DRSDirectory {
    std::vector<uint8_t> CopyrightBlock;  // HeaderAt2001 or HeaderAt1997 bytes
    DRSHeaderRecord Header;
    std::vector<DRSTable> Tables;
};

// Reads the directory under the same rules and limits as ReadDRSCatalogue, which it serves; directory
// is only changed on success.
CatalogueResult ReadDRSDirectory(ReadOnlyFile& archive, DRSDirectory& directory, bool readAnyway = false);

// Reads the archive's directory, replaces DRSCatalogue and fills the host's list: a heading row per
// table, a row per entry. A file of neither flavour is refused unless readAnyway, when it is read as
// the flavour whose header lies at 40 (the window asks InvalidFormatQuestion first). On any failure,
// DRSCatalogue and the list are untouched.
CatalogueResult ReadDRSCatalogue(ReadOnlyFile& archive, Host& host, bool readAnyway = false);

// A file that is no archive of either flavour but a sprite, shown as an archive of one entry: the list
// gets the heading "--SLP (1)--" and one SLP row of that text, the catalogue one row for the whole
// file (ID 0). A sprite is a file whose header and frame table lie inside it and whose first frame
// decodes whole. Anything else is refused (NotThisKind), with DRSCatalogue and the list untouched.
CatalogueResult ReadSpriteCatalogue(ReadOnlyFile& file, const std::string& rowText, Host& host);

// The fourth, third and second character of a table tag, upper-cased: "nibX"... reads "BIN".
std::string ReverseTypeTag(std::string_view tag);
// A table's name as the list's heading shows it, without the blanks at either end that a tag of fewer
// than three letters leaves: what pack and diff know a table by.
std::string TableNameOfTag(const std::array<char, 4>& tag);
// The kind of a table's entries by its name as ReverseTypeTag reads it: KindSLP for "SLP", and so on.
int32_t KindOfTag(const std::string& name);

// Copies the entry's Size bytes at Offset into a new file at path, replacing what stood there.
// On failure it keeps what was written and says why; the window then shows "Error saving file!".
Outcome ReadResourceData(ReadOnlyFile& archive, const std::string& path, const CatalogueRow& row, Host& host);

// The entry's bytes, in memory, for brindle-cli: the same limits as ReadResourceData, but no file, no
// box and no status text. An entry that reaches past the end of the archive is refused before
// anything is allocated.
Outcome ReadEntryBytes(ReadOnlyFile& archive, const CatalogueRow& row, std::vector<uint8_t>& bytes);

// The stamp of a temporary copy: hundredths of a second since midnight, in plain decimal.
std::string TempStamp(double secondsSinceMidnight);
// A new path for a temporary copy: TempFolder + "_drs" + stamp + ".drx", stamped with the local time.
std::string MakeTempResourcePath();
// Deletes every temporary copy, "_drs*.drx", in folder, ignoring any failure, but those that a running
// window has noted as its own (TempRun): copies left behind by a run that ended or crashed go too.
void SweepTempFiles(const std::string& folder);
