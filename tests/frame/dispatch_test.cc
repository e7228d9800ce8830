// The error dispatch: status, callback, errno, messages, index, write-back, traps.
#include <errno.h>
#include <signal.h>
#include <sys/wait.h>

#include <algorithm>
#include <cmath>
#include <sstream>
#include <string>
#include <vector>

#include "callback_script.h"
#include "frame/error_dispatch.h"
#include "gtest/gtest.h"
#include "qor/tem.h"

namespace {

// "code index: arg1, arg2 -> res1, res2 name(length)", the real parts only, to 17 digits.
std::string Shown(const temErrorContext& c) {
  std::ostringstream out;
  out.precision(17);
  out << c.Code << " " << c.Index << ": " << c.Arg1 << ", " << c.Arg2 << " -> " << c.Res1 << ", "
      << c.Res2 << " " << c.FuncName << "(" << c.FuncNameLen << ")";
  return out.str();
}

// The error field decides status, callback and errno (codes 1 to 4: the kernels' special values);
// size and memory codes touch no values (null arrays).
TEST(DispatchTest, ErrorFieldDecidesStatusCallbackAndErrno) {
  const struct { uint32_t mode; int code; bool status_set, callback_runs; int err; } cases[] = {
      {0x2002, 3, false, false, 12345}, {0x0102, 3, true, false, 12345},
      {0x1102, 3, true, true, 12345},   {0x2202, 3, true, false, ERANGE},
      {0x1202, -2, true, true, 13},     {0x1202, -1, true, true, 22},
      {0x0202, 0, true, false, 0},      {0x0202, 5, true, false, 14}};
  for (const auto& c : cases) {
    CallbackScript script;
    script.new_res1 = 1;
    int status = -100, err = 0;
    size_t calls = 0;
    double values[2] = {2, 5}, *a = c.code < 0 ? nullptr : values, *r = a ? values + 1 : nullptr;
    WithCallback(script, c.mode, [&] {
      _temSetErrStatus(-100);
      errno = 12345;
      tem::temErrorD(c.code, 0, a, a, r, r, "vdExp");
      status = _temGetErrStatus(), err = errno, calls = script.seen.size();
      tem::temErrorD(TEM_STATUS_OK, 0, values, values, values, values, "vdExp");
      EXPECT_EQ(_temGetErrStatus(), c.status_set ? TEM_STATUS_OK : -100);
    });
    EXPECT_EQ(status, c.status_set ? c.code : -100) << std::hex << c.mode << " code " << c.code;
    EXPECT_EQ(calls, c.callback_runs ? 1u : 0u) << std::hex << c.mode << " code " << c.code;
    EXPECT_EQ(err, c.err) << std::hex << c.mode << " code " << c.code;
  }
}

// Callback context (strided, complex, global index via base pointer, name cut); Res1 last.
TEST(DispatchTest, CallbackSeesTheElementAndResultsAreWrittenBack) {
  CallbackScript script;
  script.new_res1 = 7, script.new_res2 = 9;
  const float a[4] = {1.5f, 2.5f, 3.5f, 4.5f}, b[4] = {-1, -2, -3, -4};
  float r[4] = {10, 20, 30, 40}, r2[4] = {};
  const std::string name(60, 'x');  // cut to 47 characters
  EXPECT_EQ(Shown(WithCallback(script, 0x1002, [&] {
              tem::temErrorS(TEM_STATUS_ERRDOM, 2, a, b, r, r2, name.c_str());
            })),
            "1 2: 3.5, -3 -> 30, 0 " + name.substr(0, 47) + "(47)");
  EXPECT_TRUE(r[2] == 7 && r2[2] == 9);
  double d[16], e[16], s[16] = {};
  for (int i = 0; i < 16; ++i) d[i] = i, e[i] = 100 + i;
  EXPECT_EQ(Shown(WithCallback(script, 0x1002, [&] {
              tem::temErrorDI(TEM_STATUS_SING, 4, d, 3, e, 2, s, 2, s, 2, "vdDiv");
            })),
            "2 4: 12, 108 -> 0, 0 vdDiv(5)");
  EXPECT_EQ(s[8], 7);
  EXPECT_EQ(std::count(s, s + 16, 0.0), 15);
  std::vector<TemComplex16> whole(200);
  whole[105] = {1.5, -2.5};
  TemComplex16 z[8] = {};
  z[5] = {3, 4};
  const temErrorContext seen = WithCallback(script, 0x1002, [&] {
    _temSetInterfInputVectorPointer(whole.data());
    tem::temErrorZ(TEM_STATUS_OVERFLOW, 5, &whole[100], &whole[100], z, z, "vTest");
  });
  EXPECT_EQ(Shown(seen), "3 105: 1.5, 1.5 -> 3, 3 vTest(5)");
  EXPECT_TRUE(seen.Arg1Im == -2.5 && seen.Res1Im == 4);
  EXPECT_TRUE(z[5].re == 7 && z[5].im == 4);
}

// What the stderr mode prints for an error at element 2 of a chunk at element 30.
std::string PrintedBy(int code, double a1, double a2, double r1, double r2) {
  CallbackScript script;
  std::vector<double> a(40), b(40), x(40), y(40);
  a[32] = a1, b[32] = a2, x[32] = r1, y[32] = r2;
  std::string printed;
  WithCallback(script, TEM_ERRMODE_STDERR, [&] {
    _temSetInterfInputVectorPointer(a.data());
    testing::internal::CaptureStderr();
    tem::temErrorD(code, 2, a.data() + 30, b.data() + 30, x.data() + 30, y.data() + 30, "vdTest");
    printed = testing::internal::GetCapturedStderr();
  });
  return printed;
}

// Value lines by shape (Arg2, Res2 of 0.0 count as absent); code 0 prints nothing.
TEST(DispatchTest, PrintsNameLineAndValueLinesByShape) {
  const struct { int code; double a1, a2, r1, r2; int lines; std::vector<std::string> parts; }
  cases[] = {
      {TEM_STATUS_OVERFLOW, 710, 710, INFINITY, INFINITY, 3,
       {"vdTest: overflow", "a[32] = 710", "r[32] = inf"}},
      {TEM_STATUS_ERRDOM, 1, 1, 2, 3, 4, {"r1[32] = 2", "r2[32] = 3"}},
      {TEM_STATUS_SING, 1, 0.5, 2, 2, 4, {"b[32] = 0.5"}},
      {TEM_STATUS_UNDERFLOW, 1, 0.5, 2, 3, 5, {}},
      {TEM_STATUS_BADSIZE, 1, 1, 1, 1, 1, {"element 32"}}};
  for (const auto& c : cases) {
    const std::string printed = PrintedBy(c.code, c.a1, c.a2, c.r1, c.r2);
    EXPECT_EQ(std::count(printed.begin(), printed.end(), '\n'), c.lines) << printed;
    for (const std::string& part : c.parts) EXPECT_NE(printed.find(part), printed.npos) << printed;
  }
  EXPECT_EQ(PrintedBy(TEM_STATUS_OK, 1, 1, 1, 1), "");
  EXPECT_EQ(PrintedBy(TEM_STATUS_OVERFLOW, 710, 0.0, 5, 0.0),
            PrintedBy(TEM_STATUS_OVERFLOW, 710, 710, 5, 5));
}

// A trap bit fires SIGFPE for its own code only; otherwise the x87 flag is left raised.
TEST(DispatchDeathTest, TrapBitWithExceptionModeRaisesSigfpe) {
  constexpr uint32_t kExcept = TEM_ERRMODE_EXCEPT;
  const struct { uint32_t mode; int code; bool fires; uint16_t flag; } cases[] = {
      {kExcept | TEM_TRAP_INVALID, 1, true, 0},   {kExcept | TEM_TRAP_DIVBYZERO, 2, true, 0},
      {kExcept | TEM_TRAP_OVERFLOW, 3, true, 0},  {kExcept | TEM_TRAP_UNDERFLOW, 4, true, 0},
      {kExcept | TEM_TRAP_INVALID, 3, false, 0x8}, {kExcept, 1, false, 0x1},
      {kExcept, 2, false, 0x4}, {kExcept, 4, false, 0x10}, {kExcept, 7, false, 0},
      {TEM_ERRMODE_ERRNO | TEM_TRAP_OVERFLOW, 3, false, 0}};
  for (const auto& c : cases) {
    auto outcome = [&](int status) {
      return c.fires ? WIFSIGNALED(status) && WTERMSIG(status) == SIGFPE
                     : WIFEXITED(status) && WEXITSTATUS(status) == 0;
    };
    EXPECT_EXIT(
        {
          _temSetMode(c.mode);
          double v = 1;
          uint16_t status;
          __asm__ volatile("fnclex");
          tem::temErrorD(c.code, 0, &v, &v, &v, &v, "vdExp");
          __asm__ volatile("fnstsw %0" : "=m"(status));
          exit((status & 0x3F) == c.flag ? 0 : 1);
        },
        outcome, "")
        << std::hex << c.mode << " code " << c.code;
  }
}

}  // namespace
