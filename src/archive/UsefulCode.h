#pragma once
// The data that the archive's readers and the window share: the catalogue and the temporary folder.

#include <cstdint>
#include <string>
#include <vector>

#include "archive/ResourceDescription.h"

// One row of the catalogue. Heading rows are all zero.
struct CatalogueRow {
    int32_t ID = 0;
    int32_t Offset = 0;
    int32_t Size = 0;
    ResourceDescription Description;
};

// One element per row of DRSFilesList, heading rows included: DRSCatalogue[i] belongs to list index i.
extern std::vector<CatalogueRow> DRSCatalogue;

// Folder for temporary files, ending in its separator.
extern std::string TempFolder;

// The text that a described entry's row shows in place of its id: the first letter of its civilisation
// and "/T" + its tech level, then ": " and the text ("M/T3: gate"); the text alone when both are 0.
// The graphic kind never shows.
std::string BuildRowText(const ResourceDescription& description);
