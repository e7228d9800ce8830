// What libqor.so needs from the system: its DT_NEEDED libraries, its undefined dynamic symbols
// and its version requirements. Allowed are names exported by libqor_core.so, glibc (libc,
// libm, libpthread, the dynamic loader) through GLIBC_* versions, and the toolchain's weak
// unversioned hooks; never the C++ runtime or libgcc_s.
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "abi_support.h"

namespace {

using qor_abi::DynamicSymbol;

const std::set<std::string> kAllowedNeeded = {"libqor_core.so.0", "libc.so.6", "libm.so.6",
                                              "libpthread.so.0", "ld-linux-x86-64.so.2"};
// The glibc objects whose GLIBC_* versions may be required.
const std::set<std::string> kGlibcFiles = {"libc.so.6", "libm.so.6", "libpthread.so.0",
                                           "ld-linux-x86-64.so.2"};
// Weak, unversioned references the toolchain's startup files add to every shared object.
const std::set<std::string> kToolchainWeak = {"_ITM_deregisterTMCloneTable",
                                              "_ITM_registerTMCloneTable", "__gmon_start__"};


bool IsCxxRuntime(const std::string& text) {
  return text.find("libstdc++") != std::string::npos ||
         text.find("libgcc_s") != std::string::npos || qor_abi::StartsWith(text, "CXXABI") ||
         qor_abi::StartsWith(text, "GLIBCXX") || qor_abi::StartsWith(text, "GCC_");
}

TEST(Imports, NeededLibrariesAreAllowed) {
  std::string error;
  std::vector<std::string> needed = qor_abi::DynamicEntries(QOR_ABI_LIBQOR, "NEEDED", &error);
  ASSERT_TRUE(error.empty()) << error;
  ASSERT_FALSE(needed.empty()) << "no DT_NEEDED entries read";
  for (const std::string& library : needed) {
    EXPECT_FALSE(IsCxxRuntime(library)) << "libqor.so needs the C++ runtime: " << library;
    EXPECT_EQ(kAllowedNeeded.count(library), 1u) << "libqor.so needs " << library;
  }
}

// The core library the DT_NEEDED entry names is the one built with it.
TEST(Imports, CoreSonameMatches) {
  std::string error;
  std::vector<std::string> soname = qor_abi::DynamicEntries(QOR_ABI_LIBQOR_CORE, "SONAME", &error);
  ASSERT_TRUE(error.empty()) << error;
  EXPECT_EQ(soname, std::vector<std::string>{"libqor_core.so.0"});
}

TEST(Imports, EveryUndefinedSymbolIsAllowed) {
  std::string error;
  std::vector<DynamicSymbol> symbols = qor_abi::DynamicSymbols(QOR_ABI_LIBQOR, &error);
  ASSERT_TRUE(error.empty()) << error;
  std::vector<DynamicSymbol> core = qor_abi::DynamicSymbols(QOR_ABI_LIBQOR_CORE, &error);
  ASSERT_TRUE(error.empty()) << error;
  const std::set<std::string> core_exports = qor_abi::ExportedNames(core);
  ASSERT_FALSE(core_exports.empty());

  int imports = 0;
  for (const DynamicSymbol& symbol : symbols) {
    if (symbol.Defined() || symbol.name.empty()) continue;
    ++imports;
    const std::string shown = symbol.name + (symbol.version.empty() ? "" : "@" + symbol.version);
    if (!symbol.version.empty()) {
      EXPECT_FALSE(IsCxxRuntime(symbol.version)) << shown << " comes from the C++ runtime";
      EXPECT_TRUE(qor_abi::StartsWith(symbol.version, "GLIBC_")) << shown << " is not from glibc";
      EXPECT_NE(symbol.version, "GLIBC_PRIVATE") << shown << " is glibc-internal";
    } else if (kToolchainWeak.count(symbol.name)) {
      EXPECT_EQ(symbol.binding, "WEAK") << shown << " must be a weak reference";
    } else {
      EXPECT_EQ(core_exports.count(symbol.name), 1u)
          << shown << " is unversioned and not exported by libqor_core.so";
    }
  }
  EXPECT_GT(imports, 0) << "no undefined symbols read";
}

// Version requirements only name glibc objects and GLIBC_* versions.
TEST(Imports, VersionNeedsAreGlibcOnly) {
  qor_abi::ToolResult result = qor_abi::RunTool(QOR_ABI_READELF, "-V -W", QOR_ABI_LIBQOR);
  ASSERT_EQ(result.status, 0);
  bool in_needs = false;
  std::string file;
  int versions = 0;
  for (const std::string& line : qor_abi::SplitLines(result.output)) {
    if (line.find("Version needs section") != std::string::npos) {
      in_needs = true;
      continue;
    }
    if (!in_needs) continue;
    if (line.find("section '") != std::string::npos) break;  // the next section
    std::vector<std::string> words = qor_abi::SplitWords(line);
    for (size_t i = 0; i + 1 < words.size(); ++i) {
      if (words[i] == "File:") {
        file = words[i + 1];
        EXPECT_FALSE(IsCxxRuntime(file)) << "version needs of " << file;
        EXPECT_EQ(kGlibcFiles.count(file), 1u) << "version needs of " << file;
      } else if (words[i] == "Name:") {
        ++versions;
        EXPECT_TRUE(qor_abi::StartsWith(words[i + 1], "GLIBC_")) << words[i + 1] << " of " << file;
        EXPECT_NE(words[i + 1], "GLIBC_PRIVATE") << "of " << file;
      }
    }
  }
  EXPECT_TRUE(in_needs) << "no version needs section";
  EXPECT_GT(versions, 0);
}

}  // namespace
