#include "archive/UsefulCode.h"

std::vector<CatalogueRow> DRSCatalogue;
std::string TempFolder;
