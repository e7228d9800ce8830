// The stubs and tables of the present functions, read from libqor.so as loaded: the slot-1
// aliases, one 16-byte cell per stub, each stub one `jmp *disp32(%rip)` through the right slot
// of its own _ttab, the tables adjacent in list order, _ctab values and padding, and which
// slots share a kernel.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <stdint.h>
#include <string.h>

#include <map>
#include <set>
#include <string>
#include <vector>

#include "abi_support.h"

namespace {

using qor_abi::FunctionNames;
using qor_abi::Row;

using Address = const unsigned char*;

class Stubs : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_NE(qor_abi::LibqorHandle(), nullptr) << "dlopen " << QOR_ABI_LIBQOR << ": " << dlerror();
    rows_ = qor_abi::PresentRows();
  }

  // The address of an exported name; fails the test when it is missing.
  static Address Must(const std::string& name) {
    Address address = qor_abi::LibqorAddress(name);
    EXPECT_NE(address, nullptr) << name << " is not exported";
    return address;
  }

  std::vector<Row> rows_;
};

// The slot a stub jumps through, or -1 when the stub is not `jmp *disp32(%rip)` into the
// given table.
int DecodeStub(Address stub, Address ttab, std::string* why) {
  if (stub[0] != 0xFF || stub[1] != 0x25) {
    char bytes[32];
    snprintf(bytes, sizeof bytes, "%02x %02x", stub[0], stub[1]);
    *why = std::string("starts with ") + bytes + ", not ff 25 (jmp *disp32(%rip))";
    return -1;
  }
  int32_t displacement;
  memcpy(&displacement, stub + 2, sizeof displacement);
  Address target = stub + 6 + displacement;
  for (int slot = 0; slot < 3; ++slot)
    if (target == ttab + 8 * slot) return slot;
  char text[96];
  snprintf(text, sizeof text, "jumps through %p, outside the table at %p",
           static_cast<const void*>(target), static_cast<const void*>(ttab));
  *why = text;
  return -1;
}

// Every stub starts a 16-byte-aligned cell of its own in the file (and so in memory, the load
// base being page-aligned): no other stub and no other exported symbol starts inside it.
TEST_F(Stubs, EachStubHasItsOwnAlignedCell) {
  std::string error;
  std::vector<qor_abi::DynamicSymbol> symbols = qor_abi::DynamicSymbols(QOR_ABI_LIBQOR, &error);
  ASSERT_TRUE(error.empty()) << error;
  std::map<uint64_t, std::set<std::string>> by_cell;
  for (const qor_abi::DynamicSymbol& symbol : symbols)
    if (symbol.Exported()) by_cell[symbol.value / 16].insert(symbol.name);

  for (const Row& row : rows_) {
    FunctionNames names = qor_abi::NamesOf(row);
    for (const std::string& stub : names.Stubs()) {
      for (const qor_abi::DynamicSymbol& symbol : symbols) {
        if (symbol.name != stub || !symbol.Exported()) continue;
        EXPECT_EQ(symbol.value % 16, 0u) << stub;
        std::set<std::string> allowed = {stub};
        if (stub == names.stub1 || stub == names.stub1_ha) allowed = {names.stub1, names.stub1_ha};
        for (const std::string& other : by_cell[symbol.value / 16])
          EXPECT_TRUE(allowed.count(other)) << other << " starts in the cell of " << stub;
      }
    }
  }
}

TEST_F(Stubs, EachStubJumpsThroughItsSlot) {
  for (const Row& row : rows_) {
    FunctionNames names = qor_abi::NamesOf(row);
    Address ttab = Must(names.ttab);
    if (ttab == nullptr) continue;
    for (int slot = 0; slot < 3; ++slot) {
      const std::string& stub_name = names.StubOfSlot(slot);
      Address stub = Must(stub_name);
      if (stub == nullptr) continue;
      std::string why;
      EXPECT_EQ(DecodeStub(stub, ttab, &why), slot) << stub_name << ": " << why;
    }
    EXPECT_EQ(Must(names.stub1_ha), Must(names.stub1)) << names.stub1_ha << " is its own stub";
  }
}

// _ttab (24 bytes) is immediately followed by _ctab (24 bytes), and the tables of successive
// present functions follow each other directly in list order.
TEST_F(Stubs, TablesAreAdjacentInListOrder) {
  Address previous_end = nullptr;
  std::string previous;
  for (const Row& row : rows_) {
    FunctionNames names = qor_abi::NamesOf(row);
    Address ttab = Must(names.ttab), ctab = Must(names.ctab);
    if (ttab == nullptr || ctab == nullptr) return;
    EXPECT_EQ(ctab, ttab + 24) << names.ctab << " does not follow " << names.ttab;
    if (previous_end != nullptr) {
      EXPECT_EQ(ttab, previous_end) << names.ttab << " does not follow the tables of " << previous;
    }
    previous_end = ctab + 24;
    previous = row.Name();
  }
}

TEST_F(Stubs, CtabValuesAndPadding) {
  for (const Row& row : rows_) {
    FunctionNames names = qor_abi::NamesOf(row);
    Address ctab = Must(names.ctab);
    if (ctab == nullptr) continue;
    std::vector<float> expected = qor_abi::CtabValues(row.ctab);
    ASSERT_EQ(expected.size(), 3u) << row.ctab;
    for (int i = 0; i < 3; ++i) {
      uint32_t bits;
      memcpy(&bits, ctab + 4 * i, sizeof bits);
      EXPECT_EQ(bits, qor_abi::FloatBits(expected[i]))
          << names.ctab << "[" << i << "] for " << row.ctab << ": expected " << expected[i];
    }
    for (int i = 12; i < 24; ++i) EXPECT_EQ(ctab[i], 0) << names.ctab << " padding byte " << i;
  }
}

// Slots hold kernels inside the library's code, never a stub, shared as `slots` says.
TEST_F(Stubs, SlotsHoldKernelsSharedPerSlotsField) {
  std::string error;
  std::vector<qor_abi::Section> sections = qor_abi::Sections(QOR_ABI_LIBQOR, &error);
  ASSERT_TRUE(error.empty()) << error;
  Dl_info info;
  Address any = Must("_temSetMode");
  ASSERT_NE(any, nullptr);
  ASSERT_NE(dladdr(any, &info), 0);
  const uintptr_t base = reinterpret_cast<uintptr_t>(info.dli_fbase);

  std::set<Address> stubs;
  for (const Row& row : rows_)
    for (const std::string& stub : qor_abi::NamesOf(row).Stubs()) stubs.insert(Must(stub));

  for (const Row& row : rows_) {
    FunctionNames names = qor_abi::NamesOf(row);
    Address ttab = Must(names.ttab);
    if (ttab == nullptr) continue;
    uintptr_t slot[3];
    memcpy(slot, ttab, sizeof slot);
    for (int i = 0; i < 3; ++i) {
      SCOPED_TRACE(names.ttab + " slot " + std::to_string(i));
      ASSERT_NE(slot[i], 0u);
      bool in_code = false;
      for (const qor_abi::Section& section : sections)
        if (section.flags.find('X') != std::string::npos && slot[i] >= base + section.address &&
            slot[i] < base + section.address + section.size)
          in_code = true;
      EXPECT_TRUE(in_code) << "points outside the executable sections of libqor.so";
      EXPECT_EQ(stubs.count(reinterpret_cast<Address>(slot[i])), 0u) << "points at a stub";
    }
    if (row.slots == "SAME") {
      EXPECT_EQ(slot[0], slot[1]) << names.ttab << ": SAME needs one kernel";
      EXPECT_EQ(slot[1], slot[2]) << names.ttab << ": SAME needs one kernel";
    } else if (row.slots == "THREE") {
      EXPECT_NE(slot[0], slot[1]) << names.ttab << ": THREE needs three kernels";
      EXPECT_NE(slot[1], slot[2]) << names.ttab << ": THREE needs three kernels";
      EXPECT_NE(slot[0], slot[2]) << names.ttab << ": THREE needs three kernels";
    } else if (row.slots == "SHARED02") {
      EXPECT_EQ(slot[0], slot[2]) << names.ttab << ": SHARED02 shares slots 0 and 2";
      EXPECT_NE(slot[0], slot[1]) << names.ttab << ": SHARED02 has its own slot 1";
    } else {
      ADD_FAILURE() << names.ttab << ": unknown slots " << row.slots;
    }
  }
}

}  // namespace
