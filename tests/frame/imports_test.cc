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

// A version requirement names one of these files and a version of an undefined symbol, so
// that the two tests below also cover the version needs section.
const std::set<std::string> kAllowedNeeded = {"libqor_core.so.0", "libc.so.6", "libm.so.6",
                                              "libpthread.so.0", "ld-linux-x86-64.so.2"};
// Weak, unversioned references the toolchain's startup files add to every shared object.
const std::set<std::string> kToolchainWeak = {"_ITM_deregisterTMCloneTable",
                                              "_ITM_registerTMCloneTable", "__gmon_start__"};

TEST(Imports, NeededLibrariesAreAllowed) {
  std::string error;
  std::vector<std::string> needed = qor_abi::DynamicEntries(QOR_ABI_LIBQOR, "NEEDED", &error);
  ASSERT_TRUE(error.empty()) << error;
  ASSERT_FALSE(needed.empty()) << "no DT_NEEDED entries read";
  for (const std::string& library : needed) {
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

}  // namespace
