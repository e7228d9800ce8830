// Reading and writing the lines of the MT2203 progress file.
#include "tools/mt2203_rows.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

namespace mt2203 {

bool ReadRows(const std::string& path, std::map<int, Row>& rows, std::string& error) {
  std::ifstream in(path);
  std::string line;
  for (int number = 1; std::getline(in, line); ++number) {
    if (in.eof()) break;  // a last line without its newline was cut off by an interrupted run
    if (line.empty() || line[0] == '#') continue;
    std::istringstream fields(line);
    Row row{};
    fields >> row.member >> std::hex >> row.matrix_a >> row.mask_b >> row.mask_c >> std::dec;
    for (int& k : row.k) fields >> k;
    if (!fields || row.member < 0 || row.member >= kMembers) {
      error = path + ":" + std::to_string(number) + ": bad line";
      return false;
    }
    rows[row.member] = row;
  }
  return true;
}

void DropUnfinishedLine(const std::string& path) {
  std::error_code error;
  const auto size = std::filesystem::file_size(path, error);
  if (error || size == 0) return;
  std::ifstream in(path, std::ios::binary);
  std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  const size_t end = text.rfind('\n');
  if (end + 1 != text.size())
    std::filesystem::resize_file(path, end == std::string::npos ? 0 : end + 1, error);
}

void WriteRow(std::FILE* f, const Row& row) {
  std::fprintf(f, "%d 0x%08X 0x%08X 0x%08X", row.member, row.matrix_a, row.mask_b, row.mask_c);
  for (int k : row.k) std::fprintf(f, " %d", k);
  std::fprintf(f, "\n");
}

}  // namespace mt2203
