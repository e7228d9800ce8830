// libqor.so is baseline x86-64 only: a whitelist, so anything new fails until allowed.
#include <gtest/gtest.h>

#include <regex>
#include <set>
#include <string>
#include <vector>

#include "abi_support.h"

namespace {

std::set<std::string> Words(std::initializer_list<const char*> groups) {
  std::set<std::string> words;
  for (const char* group : groups)
    for (const std::string& word : qor_abi::SplitWords(group)) words.insert(word);
  return words;
}

// Baseline integer (unsuffixed AT&T), x87, SSE and SSE2 (MMX operands fail separately).
bool MnemonicAllowed(const std::string& mnemonic) {
  static const std::set<std::string> allowed = [] {
    std::set<std::string> set = Words({
        // Integer
        "mov movabs movs movsbw movsbl movsbq movswl movswq movslq movzbw movzbl movzbq movzwl",
        "movzwq cbtw cwtl cltq cwtd cltd cqto",
        "add adc sub sbb cmp inc dec neg not and or xor test mul imul div idiv lea",
        "shl sal shr sar rol ror rcl rcr shld shrd bt bts btr btc bsf bsr bswap",
        "xchg xadd cmpxchg cmpxchg8b push pop pushf popf enter leave call ret jmp",
        "loop loope loopne loopz loopnz jrcxz jecxz",
        "clc stc cmc cld std stos lods scas cmps xlat",
        "nop ud2 int3 cpuid rdtsc syscall endbr64",
        // x87
        "fld fst fstp fild fist fistp fbld fbstp fxch fld1 fldz fldpi fldl2e fldl2t fldlg2",
        "fldln2 fadd faddp fiadd fsub fsubp fsubr fsubrp fisub fisubr fmul fmulp fimul",
        "fdiv fdivp fdivr fdivrp fidiv fidivr fchs fabs fsqrt fprem fprem1 frndint fscale",
        "fxtract fsin fcos fsincos fptan fpatan f2xm1 fyl2x fyl2xp1",
        "fcom fcomp fcompp fucom fucomp fucompp fcomi fcomip fucomi fucomip ficom ficomp ftst",
        "fxam fcmovb fcmove fcmovbe fcmovu fcmovnb fcmovne fcmovnbe fcmovnu",
        "fstsw fnstsw fstcw fnstcw fldcw fstenv fnstenv fldenv fsave fnsave frstor",
        "finit fninit fclex fnclex ffree ffreep fincstp fdecstp fnop fwait wait",
        "fxsave fxrstor fxsave64 fxrstor64",
        // SSE and SSE2 beyond the families below
        "cvtsi2ss cvtss2si cvttss2si ldmxcsr stmxcsr movhlps movlhps movss movsd rcpps rcpss",
        "rsqrtps rsqrtss cvtdq2pd cvtdq2ps cvtpd2dq cvtpd2ps cvtps2dq cvtps2pd cvtsd2si cvtsd2ss",
        "cvtsi2sd cvtss2sd cvttpd2dq cvttps2dq cvttsd2si movd movq movdqa movdqu movntdq movnti",
        "maskmovdqu pmaddwd pmulhw pmulhuw pmullw pmuludq pand pandn por pxor packsswb packssdw",
        "packuswb psraw psrad pshufd pshufhw pshuflw pavgb pavgw pextrw pinsrw pmaxsw pmaxub",
        "pminsw pminub pmovmskb psadbw prefetchnta prefetcht0 prefetcht1 prefetcht2",
        "sfence clflush lfence mfence pause",
    });
    // Families: each stem with each ending. cmp<p>ps.. are objdump's names for immediates 0..7.
    const std::pair<const char*, const char*> families[] = {
        {"j set cmov", "o no b c nae ae nb nc e z ne nz be na a nbe s ns p pe np po l nge ge nl"},
        {"j set cmov", "le ng g nle"},
        {"add sub mul div min max sqrt cmp", "ps ss pd sd"},
        {"cmpeq cmplt cmple cmpunord cmpneq cmpnlt cmpnle cmpord", "ps ss pd sd"},
        {"and andn or xor unpckh unpckl shuf movmsk movnt mova movu movh movl", "ps pd"},
        {"comi ucomi", "ss sd"}, {"padd psub", "b w d q sb sw usb usw"},
        {"pcmpeq pcmpgt", "b w d"}, {"punpckh punpckl", "bw wd dq qdq"}, {"psll psrl", "w d q dq"}};
    for (const auto& [stems, endings] : families)
      for (const std::string& stem : qor_abi::SplitWords(stems))
        for (const std::string& ending : qor_abi::SplitWords(endings)) set.insert(stem + ending);
    return set;
  }();
  // Size suffixes: b, w, l, q on integer instructions and a few SSE conversions; s, l, t, ll,
  // q, w on x87 memory forms (flds, fldl, fldt, fildll, fistpll, ...).
  for (const std::string suffix : {"", "b", "w", "l", "q", "s", "t", "ll"})
    if (mnemonic.ends_with(suffix) &&
        allowed.count(mnemonic.substr(0, mnemonic.size() - suffix.size())))
      return true;
  return false;
}

// Why one objdump instruction text is not baseline ("" when it is): mnemonic or operand.
std::string Violation(std::string text) {
  static const std::set<std::string> prefixes = Words(
      {"lock rep repz repe repnz repne cs ds ss es fs gs data16 data32 addr32 addr16 notrack bnd"});
  static const std::regex rex(R"(^rex(\.[WRXB]+)?$)"), forbidden(
      R"(%ymm|%zmm|%k[0-7]\b|%tmm|%bnd|%xmm(1[6-9]|2[0-9]|3[01])\b|%mm[0-7]\b|\{)");
  text.erase(std::min(text.find('#'), text.size()));  // objdump's comment
  for (size_t open; (open = text.find('<')) != std::string::npos;)  // symbolic targets
    text.erase(open, text.find('>', open) - open + 1);
  const std::vector<std::string> words = qor_abi::SplitWords(text);
  size_t i = 0;
  while (i < words.size() && (prefixes.count(words[i]) || std::regex_match(words[i], rex))) ++i;
  if (i == words.size()) return "";  // a lone prefix byte
  if (!MnemonicAllowed(words[i])) return "mnemonic " + words[i];
  std::smatch match;
  const std::string operands = text.substr(text.find(words[i]) + words[i].size());
  return std::regex_search(operands, match, forbidden) ? "operand " + match.str() : "";
}

// The classifier rejects each kind of beyond-baseline sample, and no instruction of the library.
TEST(InstructionSet, WholeLibraryIsBaseline) {
  for (const char* sample : {"roundsd $0x9,%xmm1,%xmm0", "vaddpd %xmm1,%xmm2,%xmm0",
                             "popcntq (%rdi),%rax", "addpd  %ymm1,%ymm0", "movaps %xmm16,%xmm0",
                             "paddd  %mm1,%mm0", "addpd  (%rdi),%xmm0{%k1}"})
    EXPECT_NE(Violation(sample), "") << sample;

  bool ok;
  const std::vector<std::string> listing =
      qor_abi::ToolLines(QOR_ABI_OBJDUMP, "-d -w --no-show-raw-insn", QOR_ABI_LIBQOR, &ok);
  ASSERT_TRUE(ok) << "objdump -d failed";
  static const std::regex function_line(R"(^[0-9a-f]+ <(.+)>:\s*$)"),
      instruction_line(R"(^\s*[0-9a-f]+:\t(.*)$)");
  std::string function = "(none)", report;
  std::set<std::string> functions;
  long instructions = 0, violations = 0;
  for (const std::string& line : listing) {
    std::smatch match;
    if (std::regex_match(line, match, function_line)) {
      functions.insert(function = match[1]);
    } else if (std::regex_match(line, match, instruction_line)) {
      ++instructions;
      const std::string why = Violation(match[1]);
      if (!why.empty() && ++violations <= 50)
        report += "  " + function + ": " + line + " (" + why + ")\n";
    }
  }
  // The listing was read: it has instructions and the stubs the list says exist.
  EXPECT_GT(instructions, 100);
  for (const qor_abi::Row& row : qor_abi::PresentRows())
    EXPECT_TRUE(functions.count(qor_abi::NamesOf(row).stub0)) << row.Name();
  EXPECT_EQ(violations, 0) << "instructions beyond baseline x86-64:\n" << report;
}

}  // namespace
