// The progress file of the MT2203 member search: one finished member a line,
// "member matrixA maskB maskC k(1) ... k(32)", '#' lines are comments; lines may come in any order.
#pragma once

#include <cstdio>
#include <map>
#include <string>

#include "tools/mt2203_search.h"

namespace mt2203 {

// Members by number; false if the file exists but a line does not parse. A missing file is
// empty; a last line without its newline (an interrupted write) is ignored.
bool ReadRows(const std::string& path, std::map<int, Row>& rows, std::string& error);
// Cuts such an unfinished last line, so that appending starts on a line of its own.
void DropUnfinishedLine(const std::string& path);
void WriteRow(std::FILE* f, const Row& row);

}  // namespace mt2203
