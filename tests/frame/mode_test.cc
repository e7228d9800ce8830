// The QOR_TEM_MODE grammar and seeding, and the services that read and change the mode word.
#include <stdlib.h>

#include <string>
#include <thread>

#include "frame/mode.h"
#include "gtest/gtest.h"
#include "qor/tem.h"

namespace {

// The mode word a new thread seeds from QOR_TEM_MODE (absent: null); it never reads it again.
unsigned SeededMode(const char* value) {
  if (value == nullptr) unsetenv("QOR_TEM_MODE");
  else setenv("QOR_TEM_MODE", value, 1);
  unsigned mode = 0;
  std::thread([&] {
    mode = qor_tem_kernel_GetMode();
    setenv("QOR_TEM_MODE", "TEM_EP", 1);
    EXPECT_EQ(_temGetMode(), mode) << "read again";
  }).join();
  unsetenv("QOR_TEM_MODE");
  return mode;
}

// Every word, ORed in order; zero accuracy and error fields take defaults (0x1A02); a partial
// parse counts as absent; the consistency word is one letter short; 35 words fill the 255
// characters, and a value of 256 does not fit.
TEST(ModeSeedTest, EveryWordAndOnlyWholeValues) {
  std::string longest;
  for (int i = 0; i < 34; ++i) longest += "TEM_LA,";
  longest += "TEM_ERRMODE_ERRNO";
  const std::string too_long = ("TEM_EP," + longest).substr(0, 256);
  const struct { const char* value; unsigned mode; } cases[] = {
      {nullptr, 0x1A02}, {"", 0x1A02}, {"TEM_LA", 0x1A01}, {"TEM_HA", 0x1A02}, {"TEM_EP", 0x1A03},
      {"TEM_LA,TEM_DEFAULT_PRECISION", 0x1A01}, {"TEM_FLOAT_CONSISTENT", 0x1A12},
      {"TEM_DOUBLE_CONSISTEN", 0x1A22}, {"TEM_RESTORE", 0x1A32}, {"TEM_ERRMODE_IGNORE", 0x102},
      {"TEM_ERRMODE_ERRNO", 0x202}, {"TEM_ERRMODE_STDERR", 0x402}, {"TEM_ERRMODE_EXCEPT", 0x802},
      {"TEM_ERRMODE_CALLBACK", 0x1002}, {"TEM_ERRMODE_NOERR", 0x2002},
      {"TEM_EP,TEM_ERRMODE_DEFAULT", 0x1A03}, {"TEM_TRAP_INVALID", 0x1001A02},
      {"TEM_TRAP_DIVBYZERO", 0x2001A02}, {"TEM_TRAP_OVERFLOW", 0x4001A02},
      {"TEM_TRAP_UNDERFLOW", 0x8001A02}, {"TEM_LA,TEM_ERRMODE_STDERR,TEM_TRAP_OVERFLOW", 0x4000401},
      {"TEM_ERRMODE_IGNORE,TEM_ERRMODE_CALLBACK", 0x1102}, {"TEM_DOUBLE_CONSISTENT", 0x1A02},
      {"tem_la", 0x1A02}, {"TEM_LAX", 0x1A02}, {"TEM_LA,", 0x1A02}, {"TEM_LA,TEM_ERRMODE_", 0x1A02},
      {longest.c_str(), 0x201}, {too_long.c_str(), 0x1A02}};
  for (const auto& c : cases) EXPECT_EQ(SeededMode(c.value), c.mode) << (c.value ? c.value : "-");
}

// Each non-zero field is replaced whole; consistency bits are dropped; nothing is validated.
TEST(SetModeTest, ReplacesEachNonZeroFieldWhole) {
  const struct { uint32_t old, requested, result; } cases[] = {
      {0x1A02, 0x0, 0x1A02},          {0x1A02, 0x100, 0x0102},       {0x1A12, 0x21, 0x1A11},
      {0x281A02, 0x140000, 0x141A02}, {0x11A02, 0x20000, 0x21A02},   {0x1A02, 0xF, 0x1A0F},
      {0x5001A02, 0x2000000, 0x2001A02}, {0xF0C01A02, 0x1, 0xF0C01A01},
      {0x1A02, 0xF0C00000, 0x1A02}};
  for (const auto& c : cases)
    EXPECT_EQ(tem::ReplaceModeFields(c.old, c.requested), c.result)
        << std::hex << c.old << " " << c.requested;
}

int CallbackA(temErrorContext*) { return 0; }
int CallbackB(temErrorContext*) { return 1; }

// The services return old values; the callback bit follows the callback pointer.
TEST(ServicesTest, ModeTableIndexStatusAndCallback) {
  std::thread([] {
    unsetenv("QOR_TEM_MODE");
    EXPECT_EQ(qor_tem_kernel_GetTTableIndex(), 1);
    EXPECT_EQ(_temSetMode(0x100), TEM_MODE_DEFAULT);
    EXPECT_EQ(qor_tem_kernel_SetMode(TEM_EP), 0x102u);
    EXPECT_EQ(_temGetMode(), 0x103u);
    EXPECT_EQ(qor_tem_kernel_GetTTableIndex(), 2);
    _temSetMode(TEM_LA);
    EXPECT_EQ(qor_tem_kernel_GetTTableIndex(), 0);
    EXPECT_EQ(_temSetErrStatus(12345), 0);
    EXPECT_EQ(qor_tem_kernel_SetErrStatus(-7), 12345);
    EXPECT_EQ(_temClearErrStatus(), -7);
    EXPECT_EQ(_temGetErrStatus(), 0);
  }).join();
  EXPECT_EQ(qor_tem_kernel_GetTTableIndexM(nullptr, 0x1A03), 2);
  EXPECT_EQ(qor_tem_kernel_GetTTableIndexM(nullptr, 0x1A00), -1);
  EXPECT_EQ(dll_cpu_version(), 1);
  std::thread([] {
    EXPECT_EQ(_temSetErrorCallBack(CallbackA), nullptr);
    EXPECT_EQ(_temGetMode(), 0x1A02u);
    EXPECT_EQ(qor_tem_kernel_SetErrorCallBack(CallbackB), CallbackA);
    EXPECT_EQ(_temGetErrorCallBack(), CallbackB);
    EXPECT_EQ(_temClearErrorCallBack(), CallbackB);
    EXPECT_EQ(_temGetMode(), 0x0A02u);
    _temSetMode(TEM_ERRMODE_STDERR);
    _temSetErrorCallBack(CallbackA);
    EXPECT_EQ(_temGetMode(), 0x1402u);
    _temSetMode(0x1000);
    _temSetErrorCallBack(nullptr);
    EXPECT_EQ(_temGetMode(), 0x1002u);
    EXPECT_EQ(_temGetErrorCallBack(), nullptr);
  }).join();
}

}  // namespace
