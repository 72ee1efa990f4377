#pragma once
// What changed between two archives, entry by entry. Entries are matched by their table's name (the
// n-th table of one name with the n-th of the other), their ID and which of the entries of that ID in
// the table they are (the first, the second, ...), so that an archive packed in another order holds the
// same. Two sprites are the same when every frame decodes to the same two surfaces with the same hot
// spot, whatever their bytes: a sprite encoded anew but drawn alike has not changed.
//
// The work is bounded by the archives' sizes, never by what their directories claim: entries are
// compared through a fixed buffer, and frames are decoded only within a budget of rows and pixels.

#include <cstdint>
#include <string>
#include <vector>

#include "base/Outcome.h"

class ReadOnlyFile;

struct EntryDifference {
    enum class Change { Added, Removed, Changed };
    Change What = Change::Changed;
    std::string Table;  // its name as the list's heading shows it, without blanks at either end
    int32_t ID = 0;
    int32_t Copy = 1;   // 2 for the second entry of this ID in the table, as extract-all names it "ID-2"
    int64_t OldSize = 0, NewSize = 0;
    // Sprites compared by their frames: both frame counts, and when they agree the frames that differ
    // (from 1). TooLarge: two sprites that would take more work to compare than is left, told apart
    // by their bytes alone.
    bool ByFrames = false, TooLarge = false;
    int32_t OldFrames = 0, NewFrames = 0;
    std::vector<int32_t> Frames;
};

// The differences between older and newer, tables in the order older has them (newer's own after),
// entries by ID. Refuses, naming the file, an archive that can't be read (readAnyway as
// ReadDRSCatalogue takes it), an entry that lies outside its archive, and archives whose entries
// overlap so much that comparing them would read many times their size.
Outcome DiffArchives(ReadOnlyFile& older, ReadOnlyFile& newer, bool readAnyway, std::vector<EntryDifference>& differences);
