#include "archive/UsefulCode.h"

std::vector<CatalogueRow> DRSCatalogue;
std::string TempFolder;

std::string BuildRowText(const ResourceDescription& description) {
    // A civilisation that the list lacks counts as none, rather than reading past the list's end.
    const int32_t chosen = description.Choices[0];
    const bool listed = chosen > 0 && static_cast<size_t>(chosen) < CivilisationRows.size();
    const int32_t civilisation = listed ? chosen : 0;
    const int32_t tech = description.Choices[1];
    std::string text;
    if (civilisation != 0) {
        text += CivilisationRows[static_cast<size_t>(civilisation)].front();
        if (tech != 0) text += "/";
    }
    if (tech != 0) {
        text += 'T';
        text += std::to_string(tech);
    }
    if (civilisation != 0 || tech != 0) text += ": ";
    return text + description.Text;
}
