// Helpers of the tests that look at the built libqor.so from outside: the rows of
// frame/functions.def and the names they owe, the non-vector exports, binutils listings.
#ifndef QOR_TESTS_FRAME_ABI_SUPPORT_H_
#define QOR_TESTS_FRAME_ABI_SUPPORT_H_

#include <dlfcn.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>
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

// One TEM_FN row of functions.def, its fields as written there.
struct Row {
  std::string type, stem, variant, args, form, ctab, slots, error_name;
  int have;

  // type + stem, plus "I" for the strided variant, built without the library's macros.
  std::string Name() const { return type + stem + (variant == "I" ? "I" : ""); }
};

inline const std::vector<Row>& Rows() {
  static const std::vector<Row> rows = {
#define TEM_FN(t, stem, var, args, form, ctab, slots, name, have) \
  Row{#t, #stem, #var, #args, #form, #ctab, #slots, name, have},
#include "frame/functions.def"
#undef TEM_FN
  };
  return rows;
}

inline std::vector<Row> PresentRows() {
  std::vector<Row> present;
  for (const Row& row : Rows())
    if (row.have == 1) present.push_back(row);
  return present;
}

// The names a present function owes the user: stubs through slot 0 (_21 for s and c, _50 for
// d and z), slot 1 (_tem<f> and its alias _HA) and slot 2 (_11 or _26), and its two tables.
struct FunctionNames {
  std::string stub0, stub1, stub1_ha, stub2, ttab, ctab;
  std::vector<std::string> Stubs() const { return {stub0, stub1, stub1_ha, stub2}; }
  const std::string& StubOfSlot(int slot) const {
    return slot == 0 ? stub0 : slot == 1 ? stub1 : stub2;
  }
};

inline FunctionNames NamesOf(const Row& row) {
  const std::string f = "_tem" + row.Name(), table = "qor_tem_kernel_" + row.Name();
  const bool single = row.type == "s" || row.type == "c";
  return {f + (single ? "_21" : "_50"), f, f + "_HA", f + (single ? "_11" : "_26"),
          table + "_ttab", table + "_ctab"};
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

// Runs `tool options 'file'` and returns its standard output split into lines; *ok is false
// when it does not exit with 0.
inline std::vector<std::string> ToolLines(const std::string& tool, const std::string& options,
                                          const std::string& file, bool* ok) {
  FILE* pipe = popen((tool + " " + options + " '" + file + "'").c_str(), "r");
  std::string output;
  char buffer[65536];
  for (size_t count; pipe && (count = fread(buffer, 1, sizeof buffer, pipe)) > 0;)
    output.append(buffer, count);
  *ok = pipe != nullptr && pclose(pipe) == 0;
  std::vector<std::string> lines;
  std::istringstream stream(output);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

inline std::vector<std::string> SplitWords(const std::string& text) {
  std::vector<std::string> words;
  std::istringstream stream(text);
  for (std::string word; stream >> word;) words.push_back(word);
  return words;
}

// One .dynsym entry as readelf --dyn-syms -W prints it: the section UND, ABS or an index, the
// name without its version (after @ or @@, empty when unversioned).
struct DynamicSymbol {
  uint64_t value = 0, size = 0;
  std::string type, binding, visibility, section, name, version;

  bool Defined() const { return section != "UND"; }
  // Visible to a user of the library: defined, global or weak, default or protected.
  bool Exported() const {
    return Defined() && !name.empty() && binding != "LOCAL" && type != "SECTION" &&
           type != "FILE" && (visibility == "DEFAULT" || visibility == "PROTECTED");
  }
};

// The dynamic symbols of a file; an empty list when readelf fails or prints none.
inline std::vector<DynamicSymbol> DynamicSymbols(const std::string& path) {
  bool ok;
  std::vector<DynamicSymbol> symbols;
  for (const std::string& line : ToolLines(QOR_ABI_READELF, "--dyn-syms -W", path, &ok)) {
    std::vector<std::string> words = SplitWords(line);
    if (words.size() < 7 || words[0].back() != ':' || words[0] == "Num:") continue;
    DynamicSymbol symbol{strtoull(words[1].c_str(), nullptr, 16),
                         strtoull(words[2].c_str(), nullptr, 0),  // decimal, or 0x... when large
                         words[3], words[4], words[5]};
    size_t next = 6;  // st_other bits beyond the visibility are printed in brackets
    while (next < words.size() && words[next].front() == '[')
      while (next < words.size() && words[next++].back() != ']') {
      }
    if (next >= words.size()) return {};
    symbol.section = words[next++];
    if (next < words.size()) {
      const std::string& full = words[next];
      const size_t at = full.find('@');
      symbol.name = full.substr(0, at);
      if (at != std::string::npos)
        symbol.version = full.substr(std::min(full.find_first_not_of('@', at), full.size()));
    }
    symbols.push_back(symbol);
  }
  return ok ? symbols : std::vector<DynamicSymbol>{};
}

inline std::set<std::string> ExportedNames(const std::vector<DynamicSymbol>& symbols) {
  std::set<std::string> names;
  for (const DynamicSymbol& symbol : symbols)
    if (symbol.Exported()) names.insert(symbol.name);
  return names;
}

// Entries of the dynamic section with the given tag (NEEDED, SONAME, ...): the text in [ ].
inline std::vector<std::string> DynamicEntries(const std::string& path, const std::string& tag) {
  bool ok;
  std::vector<std::string> entries;
  for (const std::string& line : ToolLines(QOR_ABI_READELF, "-d -W", path, &ok)) {
    const size_t open = line.find('['), close = line.rfind(']');
    if (line.find("(" + tag + ")") != std::string::npos && open < close)
      entries.push_back(line.substr(open + 1, close - open - 1));
  }
  return entries;
}

// An exported name of libqor.so as loaded, opened by the path of the built file.
inline const unsigned char* LibqorAddress(const std::string& name) {
  static void* handle = dlopen(QOR_ABI_LIBQOR, RTLD_NOW | RTLD_LOCAL);
  return handle == nullptr ? nullptr
                           : static_cast<const unsigned char*>(dlsym(handle, name.c_str()));
}

}  // namespace qor_abi

#endif  // QOR_TESTS_FRAME_ABI_SUPPORT_H_
