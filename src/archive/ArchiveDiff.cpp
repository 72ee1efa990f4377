#include "archive/ArchiveDiff.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <optional>
#include <tuple>

#include "archive/DRSCode.h"
#include "base/Files.h"
#include "slp/SLPCodeNew.h"

namespace {

constexpr size_t BlockBytes = size_t{1} << 20;
// Bytes read from an archive beyond its size before its entries are taken to overlap on purpose.
constexpr int64_t SpareReadBytes = int64_t{64} << 20;
constexpr int64_t ReadsPerArchiveByte = 4;
// Pixels decoded in all, both sprites of each pair, with a little for each row: the decoder reads at
// most a few bytes a pixel of a row's stream, so this bounds its work to a fraction of a second, whatever
// the sprites claim. A thousand changed frames of 200 x 200 fit.
constexpr int64_t DecodeBudget = int64_t{1} << 27;
constexpr int64_t RowCost = 16;

// One entry, by where it stands in its archive.
struct Placed {
    int32_t Offset = 0, Size = 0;
    bool Sprite = false;
};

// Table order, ID, copy: what the entries of two archives are matched by.
using Key = std::tuple<size_t, int32_t, int32_t>;

class Comparison {
public:
    Comparison(ReadOnlyFile& older, ReadOnlyFile& newer)
        : files_{&older, &newer}, allowed_{ReadsPerArchiveByte * older.Size() + SpareReadBytes,
                                           ReadsPerArchiveByte * newer.Size() + SpareReadBytes} {
        for (size_t i = 0; i < palette_.size(); ++i) palette_[i] = static_cast<uint32_t>(i);  // every index its own colour
    }

    // Adds the tables of one archive (0 older, 1 newer) to the entries compared.
    Outcome Add(size_t side, const DRSDirectory& directory) {
        std::map<std::string, int> seen;  // tables of each name so far
        for (const DRSTable& table : directory.Tables) {
            const std::string name = TableNameOfTag(table.Record.TypeTag);
            const auto [at, fresh] = order_.try_emplace(std::pair(name, seen[name]++), tables_.size());
            if (fresh) tables_.push_back(name);
            const size_t order = at->second;
            const bool sprites = KindOfTag(ReverseTypeTag({table.Record.TypeTag.data(), 4})) == KindSLP;
            std::map<int32_t, int32_t> copies;
            for (const DRSEntryRecord& entry : table.Entries) {
                if (entry.Offset < 0 || entry.Size < 0 || int64_t{entry.Offset} + entry.Size > files_[side]->Size()) {
                    return Outcome::Failure(Fault::Damaged, "entry " + std::to_string(entry.ID) + " of table " + name +
                                                                " lies outside the archive", files_[side]->Path());
                }
                entries_[{order, entry.ID, ++copies[entry.ID]}][side] = Placed{entry.Offset, entry.Size, sprites};
            }
        }
        return Outcome::Success();
    }

    Outcome Compare(std::vector<EntryDifference>& differences) {
        for (const auto& [key, sides] : entries_) {
            EntryDifference difference;
            difference.Table = tables_[std::get<0>(key)];
            difference.ID = std::get<1>(key);
            difference.Copy = std::get<2>(key);
            difference.OldSize = sides[0] ? sides[0]->Size : 0;
            difference.NewSize = sides[1] ? sides[1]->Size : 0;
            if (!sides[0] || !sides[1]) {
                difference.What = sides[0] ? EntryDifference::Change::Removed : EntryDifference::Change::Added;
                differences.push_back(std::move(difference));
                continue;
            }
            bool same = false;
            if (sides[0]->Size == sides[1]->Size)
                if (Outcome compared = SameBytes(*sides[0], *sides[1], same); !compared) return compared;
            if (!same && sides[0]->Sprite && sides[1]->Sprite)
                if (Outcome compared = CompareSprites(*sides[0], *sides[1], difference, same); !compared) return compared;
            if (!same) differences.push_back(std::move(difference));
        }
        return Outcome::Success();
    }

private:
    // Reads an entry's bytes, counting them against what its archive may be read.
    Outcome Read(size_t side, int64_t offset, std::span<uint8_t> out) {
        allowed_[side] -= static_cast<int64_t>(out.size());
        if (allowed_[side] < 0) {
            return Outcome::Failure(Fault::OutOfLimits, "its entries overlap so much that comparing them would read it "
                                                        "many times over", files_[side]->Path());
        }
        if (files_[side]->ReadAt(offset, out) != out.size()) {
            return Outcome::Failure(Fault::CannotRead, "cannot be read", files_[side]->Path());
        }
        return Outcome::Success();
    }

    Outcome SameBytes(const Placed& a, const Placed& b, bool& same) {
        blocks_[0].resize(BlockBytes), blocks_[1].resize(BlockBytes);
        same = true;
        for (int64_t done = 0; same && done < a.Size;) {
            const size_t want = static_cast<size_t>(std::min<int64_t>(a.Size - done, BlockBytes));
            for (size_t side : {0, 1})
                if (Outcome read = Read(side, (side ? b : a).Offset + done, {blocks_[side].data(), want}); !read) return read;
            same = std::memcmp(blocks_[0].data(), blocks_[1].data(), want) == 0;
            done += static_cast<int64_t>(want);
        }
        return Outcome::Success();
    }

    // Two sprites, frame by frame. Bytes that are no sprite, or sprites past the budget, stay told
    // apart by their bytes.
    Outcome CompareSprites(const Placed& a, const Placed& b, EntryDifference& difference, bool& same) {
        if (size_t(a.Size) > MaxSLPFileBytes || size_t(b.Size) > MaxSLPFileBytes) return Outcome::Success();
        std::array<SLPFile, 2> sprites;
        std::array<std::vector<SLPFrameInfo>, 2> frames;
        for (size_t side : {0, 1}) {
            const Placed& entry = side ? b : a;
            sprites[side].Bytes.resize(static_cast<size_t>(entry.Size));
            if (Outcome read = Read(side, entry.Offset, sprites[side].Bytes); !read) return read;
            SLPHeader header;
            if (!ParseSLPHeaders(sprites[side], header, frames[side])) return Outcome::Success();
        }
        int64_t cost = 0;
        for (size_t side : {0, 1})
            for (const SLPFrameInfo& frame : frames[side])
                cost += int64_t{std::max(frame.Height, 0)} * (std::clamp(frame.Width, 0, MaxFrameWidth) + RowCost);
        if (cost > budget_) {
            difference.TooLarge = true;
            return Outcome::Success();
        }
        budget_ -= cost;
        difference.ByFrames = true;
        difference.OldFrames = static_cast<int32_t>(frames[0].size());
        difference.NewFrames = static_cast<int32_t>(frames[1].size());
        if (frames[0].size() != frames[1].size()) return Outcome::Success();
        for (size_t f = 0; f < frames[0].size(); ++f)
            if (!SameFrame(sprites, frames[0][f], frames[1][f])) difference.Frames.push_back(static_cast<int32_t>(f + 1));
        same = difference.Frames.empty();
        return Outcome::Success();
    }

    bool SameFrame(const std::array<SLPFile, 2>& sprites, const SLPFrameInfo& a, const SLPFrameInfo& b) {
        if (a.Width != b.Width || a.Height != b.Height || a.HotspotX != b.HotspotX || a.HotspotY != b.HotspotY) return false;
        std::array<cDIBSection, 2> images, masks;
        std::array<Fault, 2> ends{};
        QuietHost nobody;
        for (size_t side : {0, 1}) {
            ends[side] = DecodeSLPFrame(sprites[side], side ? b : a, images[side], masks[side], false, nobody, DecodedColours, palette_).Code;
        }
        if (ends[0] != ends[1]) return false;
        // A frame with no pixels, or too large to draw, leaves surfaces without rows to compare.
        if (!images[0].IsCreated() || !images[1].IsCreated()) return images[0].IsCreated() == images[1].IsCreated();
        const size_t rowBytes = 3 * static_cast<size_t>(images[0].Width());
        for (int32_t y = 0; y < images[0].Height(); ++y) {
            if (std::memcmp(images[0].RowPointer(y), images[1].RowPointer(y), rowBytes) != 0 ||
                std::memcmp(masks[0].RowPointer(y), masks[1].RowPointer(y), rowBytes) != 0) {
                return false;
            }
        }
        return true;
    }

    std::array<ReadOnlyFile*, 2> files_;
    std::array<int64_t, 2> allowed_;
    int64_t budget_ = DecodeBudget;
    std::array<uint32_t, 256> palette_{};
    std::array<std::vector<uint8_t>, 2> blocks_;
    std::vector<std::string> tables_;                   // each table's name, in the order they are shown
    std::map<std::pair<std::string, int>, size_t> order_;  // a name and which table of that name: its place there
    std::map<Key, std::array<std::optional<Placed>, 2>> entries_;
};

}  // namespace

Outcome DiffArchives(ReadOnlyFile& older, ReadOnlyFile& newer, bool readAnyway, std::vector<EntryDifference>& differences) {
    differences.clear();
    std::array<DRSDirectory, 2> directories;
    std::array<ReadOnlyFile*, 2> files{&older, &newer};
    Comparison comparison(older, newer);
    for (size_t side : {0, 1}) {
        if (Outcome read = ReadDRSDirectory(*files[side], directories[side], readAnyway); !read) {
            read.File = files[side]->Path();
            return read;
        }
        if (Outcome added = comparison.Add(side, directories[side]); !added) return added;
    }
    return comparison.Compare(differences);
}
