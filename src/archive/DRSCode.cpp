#include "archive/DRSCode.h"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <vector>

#include <unistd.h>

#include "archive/TempFiles.h"
#include "base/FileWriter.h"
#include "base/Files.h"
#include "base/Functions.h"
#include "slp/SLPCodeNew.h"

namespace {

constexpr int32_t HeaderRecordSize = 24;
constexpr int32_t TableRecordSize = 12;
constexpr int32_t EntryRecordSize = 12;
constexpr size_t CopyBufferSize = size_t{1} << 20;


bool ReadExactly(ReadOnlyFile& file, int64_t offset, std::span<uint8_t> out) {
    return file.ReadAt(offset, out) == out.size();
}

CatalogueResult Damaged(std::string detail) { return Outcome::Failure(Fault::Damaged, std::move(detail)); }

// The flavour's header position; for a file of neither flavour, 40 when it is to be read anyway, else 0.
int32_t HeaderPosition(ReadOnlyFile& archive, bool readAnyway) {
    std::array<uint8_t, 28> magic{};
    const size_t got = archive.ReadAt(0, magic);
    const std::string_view text(reinterpret_cast<const char*>(magic.data()), got);
    if (const int32_t headerAt = HeaderAtOfMagic(text); headerAt != 0) return headerAt;
    return readAnyway ? HeaderAt1997 : 0;
}

std::string HeadingText(const DRSTableRecord& table) {
    return "--" + ReverseTypeTag({table.TypeTag.data(), table.TypeTag.size()}) + " (" +
           std::to_string(table.EntryCount) + ")--";
}

}  // namespace

std::string TableNameOfTag(const std::array<char, 4>& tag) {
    const std::string name = ReverseTypeTag({tag.data(), tag.size()});
    const size_t first = name.find_first_not_of(' ');
    if (first == std::string::npos) return {};
    return name.substr(first, name.find_last_not_of(' ') + 1 - first);
}

int32_t KindOfTag(const std::string& name) {
    if (name == "WAV") return KindWAV;
    if (name == "BIN") return KindBIN;
    if (name == "SLP") return KindSLP;
    return KindOther;
}

std::string ReverseTypeTag(std::string_view tag) {
    std::string name;
    for (size_t i = 3; i >= 1; --i) {
        if (i < tag.size()) name += static_cast<char>(std::toupper(static_cast<unsigned char>(tag[i])));
    }
    return name;
}

CatalogueResult ReadDRSDirectory(ReadOnlyFile& archive, DRSDirectory& directory, bool readAnyway) {
    const int32_t headerAt = HeaderPosition(archive, readAnyway);
    if (headerAt == 0) return Outcome::Failure(Fault::NotThisKind, "not an archive of a known flavour");

    DRSDirectory read;
    read.CopyrightBlock.resize(static_cast<size_t>(headerAt));
    std::array<uint8_t, HeaderRecordSize> header{};
    if (!ReadExactly(archive, 0, read.CopyrightBlock) || !ReadExactly(archive, headerAt, header)) {
        return Damaged("the header is cut off");
    }
    std::copy_n(header.begin(), 4, read.Header.Version.begin());
    std::copy_n(header.begin() + 4, 12, read.Header.ArchiveType.begin());
    read.Header.TableCount = LoadI32(header.data() + 16);
    read.Header.DataOffset = LoadI32(header.data() + 20);
    const int32_t tableCount = read.Header.TableCount;
    if (tableCount < 0 || tableCount > MaxListRows) {
        return Damaged("table count " + std::to_string(tableCount) + " is out of range");
    }

    std::vector<uint8_t> tableBytes(size_t(tableCount) * TableRecordSize);
    if (!ReadExactly(archive, headerAt + HeaderRecordSize, tableBytes)) return Damaged("the table records are cut off");

    read.Tables.resize(static_cast<size_t>(tableCount));
    int64_t entryTotal = 0;
    for (size_t t = 0; t < read.Tables.size(); ++t) {
        DRSTableRecord& table = read.Tables[t].Record;
        const uint8_t* record = tableBytes.data() + t * TableRecordSize;
        std::copy_n(record, 4, table.TypeTag.begin());
        table.EntriesOffset = LoadI32(record + 4);
        table.EntryCount = LoadI32(record + 8);
        if (table.EntryCount < 0 || table.EntriesOffset < 0) {
            return Damaged("table " + std::to_string(t + 1) + " has a negative offset or count");
        }
        entryTotal += table.EntryCount;
        if (entryTotal > MaxEntries || entryTotal + tableCount > MaxListRows) {
            return Damaged("the archive has more entries than the list can hold");
        }
    }

    std::vector<uint8_t> entryBytes;
    for (size_t t = 0; t < read.Tables.size(); ++t) {
        DRSTable& table = read.Tables[t];
        entryBytes.resize(size_t(table.Record.EntryCount) * EntryRecordSize);
        if (!ReadExactly(archive, table.Record.EntriesOffset, entryBytes)) {
            return Damaged("the entry records of table " + std::to_string(t + 1) + " lie past the end of the file");
        }
        table.Entries.resize(static_cast<size_t>(table.Record.EntryCount));
        for (size_t e = 0; e < table.Entries.size(); ++e) {
            const uint8_t* record = entryBytes.data() + e * EntryRecordSize;
            table.Entries[e] = {LoadI32(record), LoadI32(record + 4), LoadI32(record + 8)};
        }
    }
    directory = std::move(read);
    return Outcome::Success();
}

CatalogueResult ReadDRSCatalogue(ReadOnlyFile& archive, Host& host, bool readAnyway) {
    // Everything is built aside first, so that a damaged archive leaves the catalogue and list as they were.
    DRSDirectory directory;
    if (CatalogueResult read = ReadDRSDirectory(archive, directory, readAnyway); !read) return read;
    std::vector<CatalogueRow> catalogue;
    std::vector<ListRow> rows;
    catalogue.reserve(directory.Tables.size());
    for (const DRSTable& table : directory.Tables) {
        rows.push_back({HeadingText(table.Record), KindHeading});
        catalogue.emplace_back();
        const int32_t kind = KindOfTag(ReverseTypeTag({table.Record.TypeTag.data(), table.Record.TypeTag.size()}));
        for (const DRSEntryRecord& entry : table.Entries) {
            rows.push_back({std::to_string(entry.ID), kind});
            catalogue.push_back({entry.ID, entry.Offset, entry.Size, {}});
        }
    }

    DRSCatalogue = std::move(catalogue);
    host.ClearList();
    host.SetListVisible(false);
    host.AddListRows(rows);
    host.SetListVisible(true);
    return Outcome::Success();
}

CatalogueResult ReadSpriteCatalogue(ReadOnlyFile& file, const std::string& rowText, Host& host) {
    const auto notASprite = [](std::string detail) { return Outcome::Failure(Fault::NotThisKind, std::move(detail)); };
    std::array<uint8_t, 28> magic{};
    const std::string_view start(reinterpret_cast<const char*>(magic.data()), file.ReadAt(0, magic));
    if (HeaderAtOfMagic(start) != 0) return notASprite("an archive");
    if (file.Size() >= EntrySizeLimit) return notASprite("larger than an entry Brindle copies");

    SLPFile sprite;
    sprite.Bytes.resize(static_cast<size_t>(file.Size()));
    if (file.ReadAt(0, sprite.Bytes) != sprite.Bytes.size()) return notASprite("cannot be read");
    SLPHeader header;
    std::vector<SLPFrameInfo> frames;
    if (Outcome read = ParseSLPHeaders(sprite, header, frames); !read) return notASprite(read.Detail);
    cDIBSection image, mask;
    QuietHost nobody;
    if (const DecodeResult decoded = DecodeSLPFrame(sprite, frames[0], image, mask, false, nobody); decoded.Code != Fault::None) {
        return notASprite("its first frame does not decode: " + decoded.Detail);
    }

    DRSCatalogue = {CatalogueRow{}, CatalogueRow{0, 0, static_cast<int32_t>(file.Size()), {}}};
    const ListRow rows[] = {{"--SLP (1)--", KindHeading}, {rowText, KindSLP}};
    host.ClearList();
    host.SetListVisible(false);
    host.AddListRows(rows);
    host.SetListVisible(true);
    return Outcome::Success();
}

Outcome ReadResourceData(ReadOnlyFile& archive, const std::string& path, const CatalogueRow& row, Host& host) {
    host.SetStatusText("Reading data...");

    auto fail = [](Fault code, std::string detail) { return Outcome::Failure(code, std::move(detail)); };
    // The copy replaces what stands at path, in place as the window writes; it is never the archive it
    // comes from. Copies in the temporary folder are for our eyes only.
    const bool temporary = !TempFolder.empty() && path.starts_with(TempFolder);
    FileWriter out(path, WritePolicy::InPlace, temporary ? FileAccess::Private : FileAccess::Shared);
    if (Outcome opened = out.Open(); !opened) return opened;
    if (!archive.IsOpen()) return fail(Fault::Missing, "no archive is open");
    if (row.Offset < 0 || row.Size < 0) return fail(Fault::Damaged, "the entry has a negative offset or size");

    // The block counter is 16-bit: with exactly 32,767 whole blocks they are written before the
    // counter overflows; with more, nothing is.
    const int64_t blocks = row.Size / BlockSize;
    if (blocks > 32767) return fail(Fault::OutOfLimits, "an entry of " + std::to_string(row.Size) + " bytes is too large to copy");
    const int64_t toCopy = blocks == 32767 ? int64_t{EntrySizeLimit} : row.Size;

    std::vector<uint8_t> buffer(static_cast<size_t>(std::min<int64_t>(toCopy, CopyBufferSize)));
    int64_t copied = 0;
    while (copied < toCopy) {
        const size_t want = static_cast<size_t>(std::min<int64_t>(toCopy - copied, CopyBufferSize));
        const size_t got = archive.ReadAt(int64_t{row.Offset} + copied, {buffer.data(), want});
        if (got > 0) {
            if (Outcome written = out.Write({buffer.data(), got}); !written) return written;
        }
        copied += static_cast<int64_t>(got);
        if (got < want) return fail(Fault::Damaged, "the entry runs past the end of the archive");
    }
    if (blocks == 32767) return fail(Fault::OutOfLimits, "an entry of " + std::to_string(row.Size) + " bytes is too large to copy");

    if (Outcome finished = out.Finish(); !finished) return finished;
    host.SetStatusText("Finished reading data");
    return Outcome::Success();
}

Outcome ReadEntryBytes(ReadOnlyFile& archive, const CatalogueRow& row, std::vector<uint8_t>& bytes) {
    bytes.clear();
    if (!archive.IsOpen()) return Outcome::Failure(Fault::Missing, "no archive is open");
    if (row.Offset < 0 || row.Size < 0) return Outcome::Failure(Fault::Damaged, "the entry has a negative offset or size");
    if (row.Size / BlockSize >= 32767) {
        return Outcome::Failure(Fault::OutOfLimits, "an entry of " + std::to_string(row.Size) + " bytes is too large to copy");
    }
    if (int64_t{row.Offset} + row.Size > archive.Size()) return Outcome::Failure(Fault::Damaged, "the entry runs past the end of the archive");
    bytes.resize(static_cast<size_t>(row.Size));
    if (archive.ReadAt(row.Offset, bytes) != bytes.size()) {
        bytes.clear();
        return Outcome::Failure(Fault::Damaged, "the entry runs past the end of the archive");
    }
    return Outcome::Success();
}

std::string TempStamp(double secondsSinceMidnight) {
    return std::to_string(static_cast<int64_t>(std::floor(secondsSinceMidnight * 100.0)));
}

std::string MakeTempResourcePath() {
    const auto now = std::chrono::system_clock::now();
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    const std::tm local = *std::localtime(&seconds);
    const auto fraction = now - std::chrono::system_clock::from_time_t(seconds);
    const double sinceMidnight = local.tm_hour * 3600.0 + local.tm_min * 60.0 + local.tm_sec +
                                 std::chrono::duration<double>(fraction).count();
    return TempFolder + "_drs" + TempStamp(sinceMidnight) + ".drx";
}

void SweepTempFiles(const std::string& folder) {
    namespace fs = std::filesystem;
    const std::vector<std::string> inUse = CopiesInUse(folder);
    std::error_code error;
    fs::directory_iterator files(folder.empty() ? fs::path(".") : fs::path(folder), error);
    if (error) return;
    for (const fs::directory_entry& file : files) {
        const std::string name = file.path().filename().string();
        if (name.size() >= 8 && name.starts_with("_drs") && name.ends_with(".drx") &&
            std::find(inUse.begin(), inUse.end(), name) == inUse.end()) {
            fs::remove(file.path(), error);
        }
    }
}
