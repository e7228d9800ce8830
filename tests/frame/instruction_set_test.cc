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
        // SSE
        "addps addss andnps andps cmpps cmpss comiss cvtsi2ss cvtss2si cvttss2si divps divss",
        "ldmxcsr stmxcsr maxps maxss minps minss movaps movhlps movhps movlhps movlps movmskps",
        "movntps movss movups mulps mulss orps rcpps rcpss rsqrtps rsqrtss shufps sqrtps sqrtss",
        "subps subss ucomiss unpckhps unpcklps xorps",
        "prefetchnta prefetcht0 prefetcht1 prefetcht2 sfence",
        // SSE2 floating point
        "addpd addsd andnpd andpd cmppd cmpsd comisd cvtdq2pd cvtdq2ps cvtpd2dq cvtpd2ps",
        "cvtps2dq cvtps2pd cvtsd2si cvtsd2ss cvtsi2sd cvtss2sd cvttpd2dq cvttps2dq cvttsd2si",
        "divpd divsd maxpd maxsd minpd minsd movapd movhpd movlpd movmskpd movsd movupd mulpd",
        "mulsd orpd shufpd sqrtpd sqrtsd subpd subsd ucomisd unpckhpd unpcklpd xorpd",
        // SSE2 integer, moves, cache and ordering
        "movd movq movdqa movdqu movntdq movntpd movnti maskmovdqu",
        "paddb paddw paddd paddq paddsb paddsw paddusb paddusw psubb psubw psubd psubq psubsb",
        "psubsw psubusb psubusw pmaddwd pmulhw pmulhuw pmullw pmuludq pand pandn por pxor",
        "pcmpeqb pcmpeqw pcmpeqd pcmpgtb pcmpgtw pcmpgtd packsswb packssdw packuswb",
        "punpckhbw punpckhwd punpckhdq punpckhqdq punpcklbw punpcklwd punpckldq punpcklqdq",
        "psllw pslld psllq psrlw psrld psrlq psraw psrad pslldq psrldq pshufd pshufhw pshuflw",
        "pavgb pavgw pextrw pinsrw pmaxsw pmaxub pminsw pminub pmovmskb psadbw",
        "clflush lfence mfence pause",
    });
    for (const std::string& condition :
         Words({"o no b c nae ae nb nc e z ne nz be na a nbe s ns p pe np po l nge ge nl le",
                "ng g nle"}))
      set.insert({"j" + condition, "set" + condition, "cmov" + condition});
    // The compare pseudo-ops objdump prints for cmpps/cmpss/cmppd/cmpsd with immediates 0..7.
    for (const std::string p : {"eq", "lt", "le", "unord", "neq", "nlt", "nle", "ord"})
      set.insert({"cmp" + p + "ps", "cmp" + p + "ss", "cmp" + p + "pd", "cmp" + p + "sd"});
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

// The classifier fails each kind of sample; then no instruction of the library fails.
TEST(InstructionSet, WholeLibraryIsBaseline) {
  const struct { const char* text; bool ok; } samples[] = {
      {"data16 cs nopw 0x0(%rax,%rax,1)", true}, {"fistpll (%rsp)", true},
      {"cvtsi2sdl 0x8(%rsp),%xmm0", true}, {"cmpunordsd %xmm1,%xmm0", true},
      {"jmp    *0x39ca(%rip)        # 7010 <qor_tem_kernel_sAbs_ttab>", true},
      {"roundsd $0x9,%xmm1,%xmm0", false}, {"vaddpd %xmm1,%xmm2,%xmm0", false},
      {"popcntq (%rdi),%rax", false}, {"addpd  %ymm1,%ymm0", false},
      {"movaps %xmm16,%xmm0", false}, {"paddd  %mm1,%mm0", false},
      {"addpd  (%rdi),%xmm0{%k1}", false}};
  for (const auto& sample : samples)
    EXPECT_EQ(Violation(sample.text).empty(), sample.ok) << sample.text << Violation(sample.text);

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
