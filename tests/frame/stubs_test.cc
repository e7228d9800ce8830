// Stubs and tables of the present functions in the loaded libqor.so: a 16-byte cell per stub,
// one `jmp *disp32(%rip)` through its slot, tables in list order, _ctab values, shared slots.
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

Address Must(const std::string& name) {
  Address address = qor_abi::LibqorAddress(name);
  EXPECT_NE(address, nullptr) << name << " is not exported";
  return address;
}

// The slot a stub jumps through, or -1 when it is not `jmp *disp32(%rip)` into the table.
int SlotOfStub(Address stub, Address ttab) {
  if (stub[0] != 0xFF || stub[1] != 0x25) return -1;
  int32_t displacement;
  memcpy(&displacement, stub + 2, sizeof displacement);
  const ptrdiff_t offset = stub + 6 + displacement - ttab;
  return offset >= 0 && offset < 24 && offset % 8 == 0 ? int(offset / 8) : -1;
}

// Every stub starts a 16-byte-aligned cell of its own in the file (and so in memory): no other
// exported symbol but the _HA alias of slot 1 starts inside it.
TEST(Stubs, EachStubHasItsOwnAlignedCell) {
  const std::vector<qor_abi::DynamicSymbol> symbols = qor_abi::DynamicSymbols(QOR_ABI_LIBQOR);
  ASSERT_FALSE(symbols.empty());
  std::map<uint64_t, std::set<std::string>> by_cell;
  std::map<std::string, uint64_t> value;
  for (const qor_abi::DynamicSymbol& symbol : symbols)
    if (symbol.Exported())
      by_cell[symbol.value / 16].insert(symbol.name), value[symbol.name] = symbol.value;
  for (const Row& row : qor_abi::PresentRows()) {
    const FunctionNames names = qor_abi::NamesOf(row);
    for (const std::string& stub : names.Stubs()) {
      ASSERT_TRUE(value.count(stub)) << stub;
      EXPECT_EQ(value[stub] % 16, 0u) << stub;
      std::set<std::string> allowed = {stub};
      if (stub == names.stub1 || stub == names.stub1_ha) allowed = {names.stub1, names.stub1_ha};
      EXPECT_EQ(by_cell[value[stub] / 16], allowed) << stub;
    }
  }
}

TEST(Stubs, JumpsTablesAndSlots) {
  Dl_info info;
  ASSERT_NE(dladdr(Must("_temSetMode"), &info), 0);
  std::set<uintptr_t> stubs;
  for (const Row& row : qor_abi::PresentRows())
    for (const std::string& stub : qor_abi::NamesOf(row).Stubs())
      stubs.insert(reinterpret_cast<uintptr_t>(Must(stub)));
  Address previous_end = nullptr;
  for (const Row& row : qor_abi::PresentRows()) {
    const FunctionNames names = qor_abi::NamesOf(row);
    SCOPED_TRACE(row.Name());
    Address ttab = Must(names.ttab), ctab = Must(names.ctab);
    ASSERT_TRUE(ttab != nullptr && ctab != nullptr);
    for (int slot = 0; slot < 3; ++slot)
      EXPECT_EQ(SlotOfStub(Must(names.StubOfSlot(slot)), ttab), slot) << names.StubOfSlot(slot);
    EXPECT_EQ(Must(names.stub1_ha), Must(names.stub1));
    // _ttab (24 bytes), then _ctab (24 bytes), then the next present function's tables.
    EXPECT_EQ(ctab, ttab + 24);
    if (previous_end != nullptr) EXPECT_EQ(ttab, previous_end);
    previous_end = ctab + 24;
    const std::vector<float> values = qor_abi::CtabValues(row.ctab);
    ASSERT_EQ(values.size(), 3u) << row.ctab;
    uint32_t bits[6];
    memcpy(bits, ctab, sizeof bits);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(bits[i], qor_abi::FloatBits(values[i])) << row.ctab << i;
    EXPECT_EQ(bits[3] | bits[4] | bits[5], 0u) << "padding";
    // Slots hold kernels of libqor.so, never a stub, shared as `slots` says.
    uintptr_t slot[3];
    memcpy(slot, ttab, sizeof slot);
    for (uintptr_t kernel : slot) {
      Dl_info owner;
      EXPECT_TRUE(dladdr(reinterpret_cast<void*>(kernel), &owner) &&
                  owner.dli_fbase == info.dli_fbase) << "a slot points outside libqor.so";
      EXPECT_EQ(stubs.count(kernel), 0u) << "a slot points at a stub";
    }
    const bool same01 = slot[0] == slot[1], same12 = slot[1] == slot[2], same02 = slot[0] == slot[2];
    if (row.slots == "SAME") EXPECT_TRUE(same01 && same12);
    else if (row.slots == "THREE") EXPECT_TRUE(!same01 && !same12 && !same02);
    else if (row.slots == "SHARED02") EXPECT_TRUE(same02 && !same01);
    else ADD_FAILURE() << "unknown slots " << row.slots;
  }
}

}  // namespace
