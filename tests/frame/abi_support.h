// Shared helpers of the abi tests, which look at the built libqor.so from outside: the rows of
// frame/functions.def, the names a row owes the user, the non-vector exports, running the
// binutils tools and reading their ELF listings, and opening the library.
#ifndef QOR_TESTS_FRAME_ABI_SUPPORT_H_
#define QOR_TESTS_FRAME_ABI_SUPPORT_H_

#include <dlfcn.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>

#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "frame/function_macros.h"

// Paths compiled in by tests/frame/abi.cmake: QOR_ABI_LIBQOR, QOR_ABI_LIBQOR_CORE,
// QOR_ABI_OBJDUMP, QOR_ABI_READELF.

namespace qor_abi {

// ------------------------------------------------------------------------------------------
// Exports of libqor.so that do not come from a row of frame/functions.def.
//
// THIS IS THE ONE PLACE TO EXTEND when an issue adds exported names outside the vector
// function list (random streams __rof... and _rof..., statistics, qor_df_kernel_..., ...).
// exports_test.cc requires the dynamic export set of libqor.so to be exactly these names plus
// the names owed by the list's present rows.
// ------------------------------------------------------------------------------------------
inline const std::vector<std::string>& NonVectorExports() {
  // clang-format off
  static const std::vector<std::string> names = [] {
    std::vector<std::string> list = {
      // Vector function services: each as _tem<suffix> and qor_tem_kernel_<suffix>.
      "_temSetMode", "qor_tem_kernel_SetMode",
      "_temGetMode", "qor_tem_kernel_GetMode",
      "_temSetErrStatus", "qor_tem_kernel_SetErrStatus",
      "_temGetErrStatus", "qor_tem_kernel_GetErrStatus",
      "_temClearErrStatus", "qor_tem_kernel_ClearErrStatus",
      "_temSetErrorCallBack", "qor_tem_kernel_SetErrorCallBack",
      "_temGetErrorCallBack", "qor_tem_kernel_GetErrorCallBack",
      "_temClearErrorCallBack", "qor_tem_kernel_ClearErrorCallBack",
      "_temSetInterfInputVectorPointer", "qor_tem_kernel_SetInterfInputVectorPointer",
      // Table index queries and the processor layer.
      "qor_tem_kernel_GetTTableIndex",
      "qor_tem_kernel_GetTTableIndexM",
      "dll_cpu_version",
      // Random streams: registry, lifecycle, chunks and shared data, leapfrog and skip-ahead.
      "__rofGetBrngBaseOffset", "__rofIsBrngValid", "__rofGetBrngProperties",
      "__rofGetNumRegBrngs", "__rofRegisterBrng", "__rofGetStreamStateBrng", "__rofGetStreamSize",
      "__rofNewStreamEx", "__rofAllocateStream", "__rofDeleteStream", "__rofCopyStream",
      "__rofCopyStreamState",
      "__rofAddChunk", "__rofSearchChunk", "__rofGetNumChunks", "__rofDeleteChunks",
      "__rofDeleteChunksById", "__rofCopyChunks",
      "__rofFindGlobRODataTableEntry", "__rofCreateGlobRODataTableEntry",
      "__rofRegisterGlobRODataReference", "__rofUnregisterGlobRODataReference",
      "__rofGenerateNewGlobalRODataTableEntryId",
      "__rofLeapfrogStream", "__rofSkipAheadStream", "__rofSkipAheadStreamEx",
      "__rofiPowMod", "__rofiPowMod2P31M1", "__rofiPowMod2P59",
      "__rofiVect3PowMod", "__rofiVect3PowArrayMod_M1", "__rofiVect3PowArrayMod_M2",
      "__rofiVect3PowArrayMod", "__rofPolyRem", "__rof_SkipAheadHorner", "__rof_SkipAheadSWin",
      "__rofSaveStreamF", "__rofLoadStreamF", "__rofSaveStreamM", "__rofLoadStreamM",
      // Basic generators.
      "__rofBRngMCG31M1InitStream", "__rofsBRngMCG31M1", "__rofdBRngMCG31M1", "__rofiBRngMCG31M1",
      "__rofBRngMCG59InitStream", "__rofsBRngMCG59", "__rofdBRngMCG59", "__rofiBRngMCG59",
      "__rofBRngMT19937InitStream", "__rofsBRngMT19937", "__rofdBRngMT19937", "__rofiBRngMT19937",
      "__rofBRngMT2203InitStream", "__rofsBRngMT2203", "__rofdBRngMT2203", "__rofiBRngMT2203",
      // Distribution generators.
      "_rofsRngUniform", "_rofdRngUniform", "_rofiRngUniform",
      "_rofiRngUniformBits", "_rofiRngUniformBits32", "_rofiRngUniformBits64",
      "_rofsRngGaussian", "_rofdRngGaussian",
      "_rofsRngExponential", "_rofdRngExponential",
      "_rofsRngGamma", "_rofdRngGamma", "_rofsRngBeta", "_rofdRngBeta",
      "_rofsRngChiSquare", "_rofdRngChiSquare",
      "_rofsRngLaplace", "_rofdRngLaplace", "_rofsRngWeibull", "_rofdRngWeibull",
      "_rofsRngCauchy", "_rofdRngCauchy", "_rofsRngRayleigh", "_rofdRngRayleigh",
      "_rofsRngGumbel", "_rofdRngGumbel",
      "_rofsRngGaussianMV", "_rofdRngGaussianMV", "_rofsRngLognormal", "_rofdRngLognormal",
      // Data fitting: task.
      "qor_df_kernel_dNewTask1D", "qor_df_kernel_sNewTask1D",
      "qor_df_kernel_dEditPPSpline1D", "qor_df_kernel_sEditPPSpline1D",
      "qor_df_kernel_dEditPtr", "qor_df_kernel_sEditPtr",
      "qor_df_kernel_dEditIdxPtr", "qor_df_kernel_sEditIdxPtr",
      "qor_df_kernel_iEditVal", "qor_df_kernel_iQueryVal",
      "qor_df_kernel_dQueryPtr", "qor_df_kernel_sQueryPtr",
      "qor_df_kernel_dQueryIdxPtr", "qor_df_kernel_sQueryIdxPtr",
      "qor_df_kernel_DeleteTask",
      "qor_df_kernel_dDFSearch1D", "qor_df_kernel_sDFSearch1D",
      // Data fitting: spline construction and interpolation.
      "qor_df_kernel_dDFLinearSpline1D", "qor_df_kernel_sDFLinearSpline1D",
      "qor_df_kernel_dDFQuadraticSpline1D", "qor_df_kernel_sDFQuadraticSpline1D",
      "qor_df_kernel_dDFDefaultCubicSpline1D", "qor_df_kernel_sDFDefaultCubicSpline1D",
      "qor_df_kernel_dDFNaturalCubicSpline1D", "qor_df_kernel_sDFNaturalCubicSpline1D",
      "qor_df_kernel_dDFInterpolate1D", "qor_df_kernel_sDFInterpolate1D",
    };
    // Summary statistics: task, edits and the basic estimates, in both types.
    for (const char* name : {"__rofSSDeleteTask", "__rofiSSEditTask"}) list.push_back(name);
    for (const char* t : {"d", "s"}) {
      const std::string prefix = std::string("__rof") + t + "SS";
      for (const char* stem : {"NewTask", "EditTask", "EditMoments", "EditSums", "EditCovCor",
                               "EditCP", "EditPartialCovCor", "EditQuantiles",
                               "EditStreamQuantiles", "EditPooledCovariance", "EditMissingVals",
                               "EditOutDetect", "EditRCov", "EditMtxParametrz"})
        list.push_back(prefix + stem);
      list.push_back(std::string("_rof") + t + "SSBasic");
      list.push_back(std::string("_rof") + t + "SSMinmax");
    }
    // Data fitting: the seven search methods, four forms each, in both types.
    for (const char* t : {"d", "s"})
      for (const char* method :
           {"Uniform", "QuasiUniform", "Sorted", "Peak", "Hybrid", "UserDef", "UniUserDef"})
        for (const char* form : {"", "32", "64", "64Pack"})
          list.push_back(std::string("qor_df_kernel_") + t + "DF" + method + "Search1D" + form);
    return list;
  }();
  // clang-format on
  return names;
}

// Exported data objects outside the vector function list (the generator registries).
inline const std::vector<std::string>& NonVectorDataExports() {
  static const std::vector<std::string> names = {"__RegBrngsNew", "__RegBrngs"};
  return names;
}

// ------------------------------------------------------------------------------------------
// The function list.
// ------------------------------------------------------------------------------------------

#define QOR_ABI_STR(x) QOR_ABI_STR_(x)
#define QOR_ABI_STR_(x) #x

// One TEM_FN row, its fields as written in functions.def.
struct Row {
  std::string type;     // s, d, c, z
  std::string stem;     // Abs, PackI, ...
  std::string variant;  // C, I
  std::string args;     // A_R, ...
  std::string form;     // VEC, LOOP, NONE
  std::string ctab;     // CT_ONE, CT_SCALED, CT_EXACT, CT_THREE
  std::string slots;    // SAME, THREE, SHARED02
  std::string error_name;
  int have;
  std::string macro_name;  // TEM_FULL_NAME(type, stem, variant), as the library expands it

  // The function name, built here without the library's macros: type + stem, plus "I" for
  // the strided variant.
  std::string Name() const { return type + stem + (variant == "I" ? "I" : ""); }
  bool Present() const { return have == 1; }
};

// All rows in table order.
inline const std::vector<Row>& Rows() {
  static const std::vector<Row> rows = {
// clang-format off
#define TEM_FN(t, stem, var, args, form, ctab, slots, name, have)                  \
  Row{#t, #stem, #var, #args, #form, #ctab, #slots, name, have,                    \
      QOR_ABI_STR(TEM_FULL_NAME(t, stem, var))},
// clang-format on
#include "frame/functions.def"
#undef TEM_FN
  };
  return rows;
}

inline std::vector<Row> PresentRows() {
  std::vector<Row> present;
  for (const Row& row : Rows())
    if (row.Present()) present.push_back(row);
  return present;
}

// Stub suffixes of slot 0 and slot 2: _21 and _11 for s and c, _50 and _26 for d and z.
inline std::string SlotZeroSuffix(const std::string& type) {
  return (type == "s" || type == "c") ? "_21" : "_50";
}
inline std::string SlotTwoSuffix(const std::string& type) {
  return (type == "s" || type == "c") ? "_11" : "_26";
}

// The names a present function owes the user.
struct FunctionNames {
  std::string stub0;     // _tem<f>_21 or _tem<f>_50, through slot 0
  std::string stub1;     // _tem<f>, through slot 1
  std::string stub1_ha;  // _tem<f>_HA, the same stub as _tem<f>
  std::string stub2;     // _tem<f>_11 or _tem<f>_26, through slot 2
  std::string ttab;      // qor_tem_kernel_<f>_ttab
  std::string ctab;      // qor_tem_kernel_<f>_ctab

  std::vector<std::string> Stubs() const { return {stub0, stub1, stub1_ha, stub2}; }
  std::vector<std::string> All() const { return {stub0, stub1, stub1_ha, stub2, ttab, ctab}; }
  // The stub that jumps through the given slot.
  const std::string& StubOfSlot(int slot) const {
    return slot == 0 ? stub0 : slot == 1 ? stub1 : stub2;
  }
};

inline FunctionNames NamesOf(const Row& row) {
  const std::string f = row.Name();
  return FunctionNames{"_tem" + f + SlotZeroSuffix(row.type),
                       "_tem" + f,
                       "_tem" + f + "_HA",
                       "_tem" + f + SlotTwoSuffix(row.type),
                       "qor_tem_kernel_" + f + "_ttab",
                       "qor_tem_kernel_" + f + "_ctab"};
}

// The three _ctab floats of a ctab group, as decimal values.
inline std::vector<float> CtabValues(const std::string& ctab) {
  if (ctab == "CT_ONE") return {1.0f, 1.0f, 1.0f};
  if (ctab == "CT_SCALED") return {111.2f, 111.3f, 111.1f};
  if (ctab == "CT_EXACT") return {111.3f, 111.3f, 111.3f};
  if (ctab == "CT_THREE") return {3.0f, 3.0f, 3.0f};
  return {};
}

inline uint32_t FloatBits(float value) {
  uint32_t bits;
  memcpy(&bits, &value, sizeof bits);
  return bits;
}

// ------------------------------------------------------------------------------------------
// Running tools.
// ------------------------------------------------------------------------------------------

struct ToolResult {
  int status = -1;     // exit status, -1 when the command could not run or was killed
  std::string output;  // standard output only
};

inline std::string ShellQuote(const std::string& text) {
  std::string quoted = "'";
  for (char c : text) {
    if (c == '\'')
      quoted += "'\\''";
    else
      quoted += c;
  }
  return quoted + "'";
}

// Runs a shell command and captures its standard output.
inline ToolResult RunCommand(const std::string& command) {
  ToolResult result;
  FILE* pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) return result;
  char buffer[65536];
  size_t count;
  while ((count = fread(buffer, 1, sizeof buffer, pipe)) > 0) result.output.append(buffer, count);
  int status = pclose(pipe);
  result.status = (status != -1 && WIFEXITED(status)) ? WEXITSTATUS(status) : -1;
  return result;
}

// Runs a tool on one file: RunTool(QOR_ABI_READELF, "--dyn-syms -W", path).
inline ToolResult RunTool(const std::string& tool, const std::string& options,
                          const std::string& file) {
  return RunCommand(ShellQuote(tool) + " " + options + " " + ShellQuote(file));
}

inline std::vector<std::string> SplitLines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  std::string line;
  while (std::getline(stream, line)) lines.push_back(line);
  return lines;
}

inline std::vector<std::string> SplitWords(const std::string& text) {
  std::vector<std::string> words;
  std::istringstream stream(text);
  std::string word;
  while (stream >> word) words.push_back(word);
  return words;
}

inline bool StartsWith(const std::string& text, const std::string& prefix) {
  return text.compare(0, prefix.size(), prefix) == 0;
}

inline bool EndsWith(const std::string& text, const std::string& suffix) {
  return text.size() >= suffix.size() &&
         text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0;
}

// ------------------------------------------------------------------------------------------
// ELF listings (readelf).
// ------------------------------------------------------------------------------------------

// One .dynsym entry as readelf --dyn-syms -W prints it.
struct DynamicSymbol {
  uint64_t value = 0;
  uint64_t size = 0;
  std::string type;     // FUNC, OBJECT, NOTYPE, ...
  std::string binding;  // GLOBAL, WEAK, LOCAL, UNIQUE
  std::string visibility;
  std::string section;  // UND, ABS or a section index
  std::string name;     // without version
  std::string version;  // after @ or @@, empty when unversioned

  bool Defined() const { return section != "UND"; }
  // Visible to a user of the library: defined, global or weak, default or protected.
  bool Exported() const {
    return Defined() && !name.empty() && binding != "LOCAL" && type != "SECTION" &&
           type != "FILE" && (visibility == "DEFAULT" || visibility == "PROTECTED");
  }
};

// Parses readelf --dyn-syms -W output; *ok is false when the listing does not parse.
inline std::vector<DynamicSymbol> ParseDynamicSymbols(const std::string& listing, bool* ok) {
  std::vector<DynamicSymbol> symbols;
  *ok = false;
  bool header_seen = false;
  for (const std::string& line : SplitLines(listing)) {
    if (line.find("Symbol table '.dynsym'") != std::string::npos) header_seen = true;
    std::vector<std::string> words = SplitWords(line);
    if (words.size() < 7 || words[0].empty() || words[0].back() != ':') continue;
    if (words[0] == "Num:") continue;
    DynamicSymbol symbol;
    char* end = nullptr;
    symbol.value = strtoull(words[1].c_str(), &end, 16);
    if (*end != '\0') return symbols;
    symbol.size = strtoull(words[2].c_str(), &end, 0);  // decimal, or 0x... when large
    if (*end != '\0') return symbols;
    symbol.type = words[3];
    symbol.binding = words[4];
    symbol.visibility = words[5];
    // Non-visibility st_other bits are printed in brackets after the visibility.
    size_t next = 6;
    while (next < words.size() && words[next].front() == '[') {
      while (next < words.size() && words[next].back() != ']') ++next;
      ++next;
    }
    if (next >= words.size()) return symbols;
    symbol.section = words[next++];
    if (next < words.size()) {
      std::string full = words[next];
      size_t at = full.find('@');
      symbol.name = full.substr(0, at);
      if (at != std::string::npos) {
        size_t start = at + 1;
        if (start < full.size() && full[start] == '@') ++start;
        symbol.version = full.substr(start);
      }
    }
    symbols.push_back(symbol);
  }
  *ok = header_seen;
  return symbols;
}

// The dynamic symbols of a file, or an empty list with *error set.
inline std::vector<DynamicSymbol> DynamicSymbols(const std::string& path, std::string* error) {
  ToolResult result = RunTool(QOR_ABI_READELF, "--dyn-syms -W", path);
  if (result.status != 0) {
    *error = "readelf --dyn-syms failed on " + path;
    return {};
  }
  bool ok = false;
  std::vector<DynamicSymbol> symbols = ParseDynamicSymbols(result.output, &ok);
  if (!ok || symbols.empty()) {
    *error = "cannot parse the readelf --dyn-syms listing of " + path;
    return {};
  }
  return symbols;
}

// Names of the exported (defined, visible) dynamic symbols of a file.
inline std::set<std::string> ExportedNames(const std::vector<DynamicSymbol>& symbols) {
  std::set<std::string> names;
  for (const DynamicSymbol& symbol : symbols)
    if (symbol.Exported()) names.insert(symbol.name);
  return names;
}

// Entries of the dynamic section with the given tag (NEEDED, SONAME, ...): the text in [ ].
inline std::vector<std::string> DynamicEntries(const std::string& path, const std::string& tag,
                                               std::string* error) {
  ToolResult result = RunTool(QOR_ABI_READELF, "-d -W", path);
  if (result.status != 0) {
    *error = "readelf -d failed on " + path;
    return {};
  }
  std::vector<std::string> entries;
  for (const std::string& line : SplitLines(result.output)) {
    if (line.find("(" + tag + ")") == std::string::npos) continue;
    size_t open = line.find('[');
    size_t close = line.rfind(']');
    if (open != std::string::npos && close != std::string::npos && close > open)
      entries.push_back(line.substr(open + 1, close - open - 1));
  }
  return entries;
}

// A section of the file, from readelf -S -W.
struct Section {
  std::string name;
  uint64_t address = 0;
  uint64_t size = 0;
  std::string flags;
};

inline std::vector<Section> Sections(const std::string& path, std::string* error) {
  ToolResult result = RunTool(QOR_ABI_READELF, "-S -W", path);
  if (result.status != 0) {
    *error = "readelf -S failed on " + path;
    return {};
  }
  std::vector<Section> sections;
  for (const std::string& line : SplitLines(result.output)) {
    size_t open = line.find('[');
    size_t close = line.find(']');
    if (open == std::string::npos || close == std::string::npos || close < open) continue;
    if (line.find("Nr]") != std::string::npos) continue;
    // Name Type Address Off Size ES [Flg] Lk Inf Al; the flags column may be empty.
    std::vector<std::string> words = SplitWords(line.substr(close + 1));
    if (words.size() < 9) continue;
    Section section;
    section.name = words[0];
    section.address = strtoull(words[2].c_str(), nullptr, 16);
    section.size = strtoull(words[4].c_str(), nullptr, 16);
    section.flags = words.size() >= 10 ? words[6] : "";
    sections.push_back(section);
  }
  if (sections.empty()) *error = "cannot parse the readelf -S listing of " + path;
  return sections;
}

// ------------------------------------------------------------------------------------------
// The library as loaded.
// ------------------------------------------------------------------------------------------

// libqor.so opened by the path of the built file (the same object the test links to).
inline void* LibqorHandle() {
  static void* handle = dlopen(QOR_ABI_LIBQOR, RTLD_NOW | RTLD_LOCAL);
  return handle;
}

inline const unsigned char* LibqorAddress(const std::string& name) {
  void* handle = LibqorHandle();
  return handle == nullptr ? nullptr
                           : static_cast<const unsigned char*>(dlsym(handle, name.c_str()));
}

}  // namespace qor_abi

#endif  // QOR_TESTS_FRAME_ABI_SUPPORT_H_
