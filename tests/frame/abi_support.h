// Helpers of the tests that look at the built libqor.so from outside.
#ifndef QOR_TESTS_FRAME_ABI_SUPPORT_H_
#define QOR_TESTS_FRAME_ABI_SUPPORT_H_

#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "frame/function_macros.h"

// Paths compiled in by abi.cmake: QOR_ABI_LIBQOR, _LIBQOR_CORE, _OBJDUMP, _READELF.
namespace qor_abi {

// Exports owed by no row of functions.def: extend here when such names are added.
inline const std::vector<std::string>& NonVectorExports() {
  static const std::vector<std::string> names = [] {
    std::vector<std::string> list = {"qor_tem_kernel_GetTTableIndex",
                                     "qor_tem_kernel_GetTTableIndexM", "dll_cpu_version"};
    auto add = [&list](const std::string& prefix, std::initializer_list<const char*> stems) {
      for (const char* stem : stems) list.push_back(prefix + stem);
    };
    // clang-format off
    for (const char* prefix : {"_tem", "qor_tem_kernel_"})
      add(prefix, {"SetMode", "GetMode", "SetErrStatus", "GetErrStatus", "ClearErrStatus",
                   "SetErrorCallBack", "GetErrorCallBack", "ClearErrorCallBack",
                   "SetInterfInputVectorPointer"});
    // Random streams: registry, lifecycle, chunks and shared data, leapfrog and skip-ahead.
    add("__rof", {"GetBrngBaseOffset", "IsBrngValid", "GetBrngProperties", "GetNumRegBrngs",
                  "RegisterBrng", "GetStreamStateBrng", "GetStreamSize", "NewStreamEx",
                  "AllocateStream", "DeleteStream", "CopyStream", "CopyStreamState", "AddChunk",
                  "SearchChunk", "GetNumChunks", "DeleteChunks", "DeleteChunksById", "CopyChunks",
                  "FindGlobRODataTableEntry", "CreateGlobRODataTableEntry",
                  "RegisterGlobRODataReference", "UnregisterGlobRODataReference",
                  "GenerateNewGlobalRODataTableEntryId", "LeapfrogStream", "SkipAheadStream",
                  "SkipAheadStreamEx", "iPowMod", "iPowMod2P31M1", "iPowMod2P59", "iVect3PowMod",
                  "iVect3PowArrayMod_M1", "iVect3PowArrayMod_M2", "iVect3PowArrayMod", "PolyRem",
                  "_SkipAheadHorner", "_SkipAheadSWin", "SaveStreamF", "LoadStreamF",
                  "SaveStreamM", "LoadStreamM", "SSDeleteTask", "iSSEditTask"});
    for (const std::string brng : {"MCG31M1", "MCG59", "MT19937", "MT2203"}) {
      list.push_back("__rofBRng" + brng + "InitStream");
      for (const std::string t : {"s", "d", "i"}) list.push_back("__rof" + t + "BRng" + brng);
    }
    add("_rofiRng", {"Uniform", "UniformBits", "UniformBits32", "UniformBits64"});
    add("qor_df_kernel_", {"iEditVal", "iQueryVal", "DeleteTask"});
    for (const std::string t : {"d", "s"}) {
      add("_rof" + t + "Rng", {"Uniform", "Gaussian", "Exponential", "Gamma", "Beta", "ChiSquare",
                               "Laplace", "Weibull", "Cauchy", "Rayleigh", "Gumbel", "GaussianMV",
                               "Lognormal"});
      add("qor_df_kernel_" + t, {"NewTask1D", "EditPPSpline1D", "EditPtr", "EditIdxPtr",
                                 "QueryPtr", "QueryIdxPtr", "DFSearch1D", "DFLinearSpline1D",
                                 "DFQuadraticSpline1D", "DFDefaultCubicSpline1D",
                                 "DFNaturalCubicSpline1D", "DFInterpolate1D"});
      add("__rof" + t + "SS", {"NewTask", "EditTask", "EditMoments", "EditSums", "EditCovCor",
                               "EditCP", "EditPartialCovCor", "EditQuantiles",
                               "EditStreamQuantiles", "EditPooledCovariance", "EditMissingVals",
                               "EditOutDetect", "EditRCov", "EditMtxParametrz"});
      add("_rof" + t + "SS", {"Basic", "Minmax"});
      for (const std::string method :
           {"Uniform", "QuasiUniform", "Sorted", "Peak", "Hybrid", "UserDef", "UniUserDef"})
        add("qor_df_kernel_" + t + "DF" + method + "Search1D", {"", "32", "64", "64Pack"});
    }
    // clang-format on
    return list;
  }();
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

// Names a present function owes: stubs of slots 0 (_21/_50), 1 (+ _HA), 2 (_11/_26), tables.
struct FunctionNames {
  std::string stub0, stub1, stub1_ha, stub2, ttab, ctab;
};

inline FunctionNames NamesOf(const Row& row) {
  const std::string f = "_tem" + row.Name(), table = "qor_tem_kernel_" + row.Name();
  const bool single = row.type == "s" || row.type == "c";
  return {f + (single ? "_21" : "_50"), f, f + "_HA", f + (single ? "_11" : "_26"),
          table + "_ttab", table + "_ctab"};
}

// The standard output lines of `tool options 'file'`; *ok is false unless it exits with 0.
inline std::vector<std::string> ToolLines(const std::string& tool, const std::string& options,
                                          const std::string& file, bool* ok) {
  FILE* pipe = popen((tool + " " + options + " '" + file + "'").c_str(), "r");
  std::vector<std::string> lines;
  for (char line[4096]; pipe && fgets(line, sizeof line, pipe);)
    lines.emplace_back(line, strcspn(line, "\n"));
  *ok = pipe != nullptr && pclose(pipe) == 0;
  return lines;
}

inline std::vector<std::string> SplitWords(const std::string& text) {
  std::vector<std::string> words;
  std::istringstream stream(text);
  for (std::string word; stream >> word;) words.push_back(word);
  return words;
}

// A readelf --dyn-syms -W entry; the name without its @ or @@ version.
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
    const std::vector<std::string> w = SplitWords(line);  // Num: Value Size Type Bind Vis Ndx Name
    if (w.size() < 7 || w[0].back() != ':' || w[0] == "Num:") continue;
    const std::string full = w.size() > 7 ? w[7] : "";
    const size_t at = std::min(full.find('@'), full.size());
    symbols.push_back({strtoull(w[1].c_str(), nullptr, 16), strtoull(w[2].c_str(), nullptr, 0),
                       w[3], w[4], w[5], w[6], full.substr(0, at),
                       full.substr(std::min(full.find_first_not_of('@', at), full.size()))});
  }
  return ok ? symbols : std::vector<DynamicSymbol>{};
}

}  // namespace qor_abi

#endif  // QOR_TESTS_FRAME_ABI_SUPPORT_H_
