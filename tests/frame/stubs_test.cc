// Each stub of libqor.so is one `jmp *disp32(%rip)` through its slot; _ctab values, slots.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <stdint.h>
#include <string.h>

#include <map>
#include <string>
#include <vector>

#include "abi_support.h"

namespace {

using Address = const unsigned char*;

Address Must(const std::string& name) {
  static void* handle = dlopen(QOR_ABI_LIBQOR, RTLD_NOW | RTLD_LOCAL);
  Address address = handle ? static_cast<Address>(dlsym(handle, name.c_str())) : nullptr;
  EXPECT_NE(address, nullptr) << name << " is not exported";
  return address;
}

// The slot a stub jumps through, or -1 when it is not `jmp *disp32(%rip)` into the table.
int SlotOfStub(Address stub, Address ttab) {
  if (stub == nullptr || stub[0] != 0xFF || stub[1] != 0x25) return -1;
  int32_t displacement;
  memcpy(&displacement, stub + 2, sizeof displacement);
  const ptrdiff_t offset = stub + 6 + displacement - ttab;
  return offset >= 0 && offset < 24 && offset % 8 == 0 ? int(offset / 8) : -1;
}

TEST(Stubs, JumpsTablesAndSlots) {
  // The _ctab floats of each group: the nearest to 1, 3, 111.3 and 111.2, 111.3, 111.1.
  const std::map<std::string, std::vector<float>> ctab_values = {
      {"CT_ONE", {1.0f, 1.0f, 1.0f}}, {"CT_THREE", {3.0f, 3.0f, 3.0f}},
      {"CT_EXACT", {111.3f, 111.3f, 111.3f}}, {"CT_SCALED", {111.2f, 111.3f, 111.1f}}};
  for (const qor_abi::Row& row : qor_abi::PresentRows()) {
    const qor_abi::FunctionNames names = qor_abi::NamesOf(row);
    SCOPED_TRACE(row.Name());
    Address ttab = Must(names.ttab), ctab = Must(names.ctab);
    ASSERT_TRUE(ttab != nullptr && ctab != nullptr);
    EXPECT_EQ(SlotOfStub(Must(names.stub0), ttab), 0);
    EXPECT_EQ(SlotOfStub(Must(names.stub1), ttab), 1);
    EXPECT_EQ(SlotOfStub(Must(names.stub2), ttab), 2);
    EXPECT_EQ(Must(names.stub1_ha), Must(names.stub1));
    ASSERT_TRUE(ctab_values.count(row.ctab)) << row.ctab;
    float values[6];
    memcpy(values, ctab, sizeof values);
    EXPECT_EQ(std::vector<float>(values, values + 3), ctab_values.at(row.ctab));
    EXPECT_TRUE(values[3] == 0 && values[4] == 0 && values[5] == 0) << "padding";
    // Slots are shared as `slots` says.
    uintptr_t slot[3];
    memcpy(slot, ttab, sizeof slot);
    const bool same01 = slot[0] == slot[1], same12 = slot[1] == slot[2],
               same02 = slot[0] == slot[2];
    if (row.slots == "SAME") EXPECT_TRUE(same01 && same12);
    else if (row.slots == "THREE") EXPECT_TRUE(!same01 && !same12 && !same02);
    else if (row.slots == "SHARED02") EXPECT_TRUE(same02 && !same01);
    else ADD_FAILURE() << "unknown slots " << row.slots;
  }
}

}  // namespace
