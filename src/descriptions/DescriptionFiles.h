#pragma once
// Description files (.dsc): one line per described row of DRSCatalogue, "ID@civ@tech@kind@text", in the
// Windows-1252 code page, each line ending in CR LF. They name no archive, so a file loads onto any.

#include <string>

#include "base/Host.h"
#include "base/Outcome.h"

// Writes a line for every row of DRSCatalogue whose description is not all 0 with an empty text, in
// catalogue order, with the text trimmed of blanks at both ends. Replaces an existing file; a
// catalogue without descriptions gives a file of 0 bytes. Failure when the file can't be written.
Outcome SaveDescriptionFile(const std::string& FileName);

// Merges a description file into DRSCatalogue: each line goes to the first row with its id, replacing
// that row's whole description, and the row's text in the list becomes BuildRowText of it. Lines whose
// id names no row are dropped, and so are lines of fewer than five fields. A choice that its list lacks
// is stored as 0. The list is hidden while the rows change. Failure, with no row changed, when the file
// can't be read or is larger than 64 MiB.
Outcome LoadDescriptionFile(const std::string& FileName, Host& host);
