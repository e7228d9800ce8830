// Every instruction in libqor.so is baseline x86-64: integer, x87, SSE and SSE2. The check is a
// whitelist of mnemonics as objdump prints them in AT&T syntax, so that anything new (SSE3 and
// later, AVX in any form, BMI, POPCNT, ...) fails until someone decides it is allowed.
#include <gtest/gtest.h>

#include <regex>
#include <set>
#include <string>
#include <vector>

#include "abi_support.h"

namespace {

// ------------------------------------------------------------------------------------------
// The whitelist.
// ------------------------------------------------------------------------------------------

std::set<std::string> Words(std::initializer_list<const char*> groups) {
  std::set<std::string> words;
  for (const char* group : groups)
    for (const std::string& word : qor_abi::SplitWords(group)) words.insert(word);
  return words;
}

const char* const kConditions[] = {"o",  "no", "b",  "c",   "nae", "ae",  "nb", "nc", "e", "z",
                                   "ne", "nz", "be", "na",  "a",   "nbe", "s",  "ns", "p", "pe",
                                   "np", "po", "l",  "nge", "ge",  "nl",  "le", "ng", "g", "nle"};

// Baseline integer instructions, in their unsuffixed AT&T spelling.
std::set<std::string> IntegerMnemonics() {
  std::set<std::string> set = Words({
      "mov movabs movs movsbw movsbl movsbq movswl movswq movslq movzbw movzbl movzbq movzwl",
      "movzwq cbtw cwtl cltq cwtd cltd cqto",
      "add adc sub sbb cmp inc dec neg not and or xor test mul imul div idiv lea",
      "shl sal shr sar rol ror rcl rcr shld shrd bt bts btr btc bsf bsr bswap",
      "xchg xadd cmpxchg cmpxchg8b push pop pushf popf enter leave call ret jmp",
      "loop loope loopne loopz loopnz jrcxz jecxz",
      "clc stc cmc cld std stos lods scas cmps xlat",
      "nop ud2 int3 cpuid rdtsc syscall endbr64",
  });
  for (const char* condition : kConditions) {
    set.insert(std::string("j") + condition);
    set.insert(std::string("set") + condition);
    set.insert(std::string("cmov") + condition);
  }
  return set;
}

// x87, unsuffixed.
std::set<std::string> X87Mnemonics() {
  return Words({
      "fld fst fstp fild fist fistp fbld fbstp fxch fld1 fldz fldpi fldl2e fldl2t fldlg2 fldln2",
      "fadd faddp fiadd fsub fsubp fsubr fsubrp fisub fisubr fmul fmulp fimul",
      "fdiv fdivp fdivr fdivrp fidiv fidivr fchs fabs fsqrt fprem fprem1 frndint fscale fxtract",
      "fsin fcos fsincos fptan fpatan f2xm1 fyl2x fyl2xp1",
      "fcom fcomp fcompp fucom fucomp fucompp fcomi fcomip fucomi fucomip ficom ficomp ftst fxam",
      "fcmovb fcmove fcmovbe fcmovu fcmovnb fcmovne fcmovnbe fcmovnu",
      "fstsw fnstsw fstcw fnstcw fldcw fstenv fnstenv fldenv fsave fnsave frstor",
      "finit fninit fclex fnclex ffree ffreep fincstp fdecstp fnop fwait wait",
      "fxsave fxrstor fxsave64 fxrstor64",
  });
}

// SSE and SSE2 on xmm registers (MMX-register forms are rejected by the operand check).
std::set<std::string> SseMnemonics() {
  std::set<std::string> set = Words({
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
      // SSE2 integer and moves
      "movd movq movdqa movdqu movntdq movntpd movnti maskmovdqu",
      "paddb paddw paddd paddq paddsb paddsw paddusb paddusw psubb psubw psubd psubq psubsb",
      "psubsw psubusb psubusw pmaddwd pmulhw pmulhuw pmullw pmuludq pand pandn por pxor",
      "pcmpeqb pcmpeqw pcmpeqd pcmpgtb pcmpgtw pcmpgtd packsswb packssdw packuswb",
      "punpckhbw punpckhwd punpckhdq punpckhqdq punpcklbw punpcklwd punpckldq punpcklqdq",
      "psllw pslld psllq psrlw psrld psrlq psraw psrad pslldq psrldq pshufd pshufhw pshuflw",
      "pavgb pavgw pextrw pinsrw pmaxsw pmaxub pminsw pminub pmovmskb psadbw",
      // SSE2 cache and ordering
      "clflush lfence mfence pause",
  });
  // The compare pseudo-ops objdump prints for cmpps/cmpss/cmppd/cmpsd with immediates 0..7.
  for (const char* predicate : {"eq", "lt", "le", "unord", "neq", "nlt", "nle", "ord"})
    for (const char* kind : {"ps", "ss", "pd", "sd"})
      set.insert(std::string("cmp") + predicate + kind);
  return set;
}

// Prefixes objdump prints as separate words before a mnemonic.
const std::set<std::string> kPrefixes = {"lock",   "rep",    "repz",   "repe",   "repnz",   "repne",
                                         "cs",     "ds",     "ss",     "es",     "fs",      "gs",
                                         "data16", "data32", "addr32", "addr16", "notrack", "bnd"};

// SSE conversions whose operand size objdump may spell with an l or q suffix.
const std::set<std::string> kSuffixedSse = {"cvtsi2ss", "cvtsi2sd",  "cvtss2si",
                                            "cvtsd2si", "cvttss2si", "cvttsd2si",
                                            "movnti",   "pextrw",    "pinsrw"};

bool MnemonicAllowed(const std::string& mnemonic) {
  static const std::set<std::string> integer = IntegerMnemonics();
  static const std::set<std::string> x87 = X87Mnemonics();
  static const std::set<std::string> sse = SseMnemonics();
  if (integer.count(mnemonic) || x87.count(mnemonic) || sse.count(mnemonic)) return true;
  // Size suffixes: b, w, l, q on integer instructions and a few SSE conversions; s, l, t, ll,
  // q, w on x87 memory forms (flds, fldl, fldt, fildll, fistpll, ...).
  for (const char* suffix : {"b", "w", "l", "q"}) {
    if (!qor_abi::EndsWith(mnemonic, suffix)) continue;
    std::string base = mnemonic.substr(0, mnemonic.size() - 1);
    if (integer.count(base) || kSuffixedSse.count(base)) return true;
  }
  if (qor_abi::StartsWith(mnemonic, "f")) {
    for (const char* suffix : {"ll", "s", "l", "t", "q", "w"}) {
      if (!qor_abi::EndsWith(mnemonic, suffix)) continue;
      if (x87.count(mnemonic.substr(0, mnemonic.size() - strlen(suffix)))) return true;
    }
  }
  return false;
}

// Registers outside the baseline: ymm, zmm, mask, AMX tile and MPX bound registers, xmm16-31,
// and MMX registers; and EVEX decorations in braces.
bool OperandsAllowed(const std::string& operands, std::string* why) {
  static const std::regex forbidden(
      R"(%ymm|%zmm|%k[0-7]\b|%tmm|%bnd|%xmm(1[6-9]|2[0-9]|3[01])\b|%mm[0-7]\b|\{)");
  std::smatch match;
  if (std::regex_search(operands, match, forbidden)) {
    *why = "operand " + match.str();
    return false;
  }
  return true;
}

// One line of objdump -d --no-show-raw-insn output.
struct Line {
  enum Kind { kOther, kFunction, kInstruction } kind = kOther;
  std::string function;     // kFunction: the symbol
  std::string instruction;  // kInstruction: the text after the address
};

Line ParseLine(const std::string& text) {
  static const std::regex function(R"(^[0-9a-f]+ <(.+)>:\s*$)");
  static const std::regex instruction(R"(^\s*[0-9a-f]+:\t(.*)$)");
  std::smatch match;
  Line line;
  if (std::regex_match(text, match, function)) {
    line.kind = Line::kFunction;
    line.function = match[1];
  } else if (std::regex_match(text, match, instruction)) {
    line.kind = Line::kInstruction;
    line.instruction = match[1];
  }
  return line;
}

struct Verdict {
  bool ok;
  std::string why;
};

// Classifies the instruction text of one objdump line ("cs nopw 0x0(%rax,%rax,1)").
Verdict ClassifyInstruction(std::string text) {
  // Drop objdump's comment (# target <symbol>) and symbolic targets.
  size_t comment = text.find('#');
  if (comment != std::string::npos) text.erase(comment);
  size_t symbol;
  while ((symbol = text.find('<')) != std::string::npos) {
    size_t end = text.find('>', symbol);
    text.erase(symbol, end == std::string::npos ? std::string::npos : end - symbol + 1);
  }
  std::vector<std::string> words = qor_abi::SplitWords(text);
  size_t i = 0;
  static const std::regex rex(R"(^rex(\.[WRXB]+)?$)");
  while (i < words.size() && (kPrefixes.count(words[i]) || std::regex_match(words[i], rex))) ++i;
  if (i == words.size()) return {true, ""};  // a lone prefix byte
  const std::string& mnemonic = words[i];
  if (!MnemonicAllowed(mnemonic)) return {false, "mnemonic " + mnemonic};
  std::string operands;
  for (++i; i < words.size(); ++i) operands += words[i] + " ";
  std::string why;
  if (!OperandsAllowed(operands, &why)) return {false, why};
  return {true, ""};
}

// ------------------------------------------------------------------------------------------
// The classifier on sample lines, so that the whole-library check is seen to be able to fail.
// ------------------------------------------------------------------------------------------

struct Sample {
  const char* line;
  bool ok;
};

// One or two lines for each rule of the classifier: prefixes, comments and symbolic targets,
// condition codes, size suffixes on integer, x87 and SSE forms, compare pseudo-ops; and on the
// other side mnemonics outside the whitelist (suffixed or not) and each forbidden operand.
const Sample kSamples[] = {
    // Baseline.
    {"    1000:\taddpd  %xmm1,%xmm0", true},
    {"    1000:\tendbr64", true},
    {"    1000:\tdata16 cs nopw 0x0(%rax,%rax,1)", true},
    {"    1000:\tjmp    *0x39ca(%rip)        # 7010 <qor_tem_kernel_sAbs_ttab>", true},
    {"    1000:\taddr32 call 3310 <_ZN3tem10temGetModeEv>", true},
    {"    1000:\tnotrack jmp *%rax", true},
    {"    1000:\tlock cmpxchg %edx,(%rdi)", true},
    {"    1000:\trep stos %rax,%es:(%rdi)", true},
    {"    1000:\tcmovbe (%rdi),%rax", true},
    {"    1000:\tsetnp  %al", true},
    {"    1000:\tmovslq %esi,%rsi", true},
    {"    1000:\tmovl   $0x0,0x8(%rsp)", true},
    {"    1000:\tcqto", true},
    {"    1000:\tfldt   0x10(%rsp)", true},
    {"    1000:\tfistpll (%rsp)", true},
    {"    1000:\tfucomip %st(1),%st", true},
    {"    1000:\tcvtsi2sdl 0x8(%rsp),%xmm0", true},
    {"    1000:\tmovdqu (%rdi),%xmm15", true},
    {"    1000:\tmovq   %xmm0,%rax", true},
    {"    1000:\tcmpunordsd %xmm1,%xmm0", true},
    {"    1000:\tcmpxchg8b (%rdi)", true},
    // Mnemonics beyond the baseline.
    {"    1000:\troundsd $0x9,%xmm1,%xmm0", false},  // SSE4.1
    {"    1000:\tvaddpd %xmm1,%xmm2,%xmm0", false},  // VEX form on xmm
    {"    1000:\tvzeroupper", false},
    {"    1000:\tpopcntq (%rdi),%rax", false},       // suffixed, base not baseline
    {"    1000:\tandn   %edx,%esi,%eax", false},     // BMI1
    {"    1000:\tpshufb %xmm1,%xmm0", false},        // SSSE3
    {"    1000:\tmovddup %xmm1,%xmm0", false},       // SSE3
    {"    1000:\tfisttpll (%rsp)", false},           // SSE3 x87 store, x87-suffixed
    {"    1000:\tpcmpgtq %xmm1,%xmm0", false},       // SSE4.2
    {"    1000:\tcmpxchg16b (%rdi)", false},
    {"    1000:\tsahf", false},                      // not in every x86-64
    {"    1000:\temms", false},                      // MMX
    {"    1000:\txacquire lock add %eax,(%rdi)", false},
    {"    1000:\t(bad)", false},
    // A whitelisted mnemonic with each forbidden operand, for the operand rule alone.
    {"    1000:\taddpd  %ymm1,%ymm0", false},
    {"    1000:\taddpd  %zmm1,%zmm0", false},
    {"    1000:\tmov    %k1,%eax", false},
    {"    1000:\tmovaps %xmm16,%xmm0", false},
    {"    1000:\tpaddd  %mm1,%mm0", false},
    {"    1000:\taddpd  (%rdi),%xmm0{%k1}", false},
};

TEST(InstructionSet, ClassifierOnSampleLines) {
  for (const Sample& sample : kSamples) {
    Line line = ParseLine(sample.line);
    ASSERT_EQ(line.kind, Line::kInstruction) << sample.line;
    Verdict verdict = ClassifyInstruction(line.instruction);
    EXPECT_EQ(verdict.ok, sample.ok) << sample.line << (verdict.ok ? "" : ": " + verdict.why);
  }
}

// ------------------------------------------------------------------------------------------
// The library.
// ------------------------------------------------------------------------------------------

TEST(InstructionSet, WholeLibraryIsBaseline) {
  qor_abi::ToolResult result =
      qor_abi::RunTool(QOR_ABI_OBJDUMP, "-d -w --no-show-raw-insn", QOR_ABI_LIBQOR);
  ASSERT_EQ(result.status, 0) << "objdump -d failed";

  std::string function = "(none)";
  std::set<std::string> functions;
  long instructions = 0;
  std::vector<std::string> violations;
  for (const std::string& text : qor_abi::SplitLines(result.output)) {
    Line line = ParseLine(text);
    if (line.kind == Line::kFunction) {
      function = line.function;
      functions.insert(function);
      continue;
    }
    if (line.kind != Line::kInstruction) continue;
    ++instructions;
    Verdict verdict = ClassifyInstruction(line.instruction);
    if (!verdict.ok)
      violations.push_back(function + ": " + line.instruction + "  (" + verdict.why + ")");
  }

  // The listing was read: it has instructions and the functions the list says exist.
  EXPECT_GT(instructions, 100);
  for (const qor_abi::Row& row : qor_abi::PresentRows()) {
    const qor_abi::FunctionNames names = qor_abi::NamesOf(row);
    EXPECT_TRUE(functions.count(names.stub0)) << names.stub0 << " not in the disassembly";
    EXPECT_TRUE(functions.count(names.stub2)) << names.stub2 << " not in the disassembly";
  }

  std::string report;
  for (size_t i = 0; i < violations.size() && i < 50; ++i) report += "  " + violations[i] + "\n";
  EXPECT_TRUE(violations.empty()) << violations.size() << " instructions beyond baseline x86-64:\n"
                                  << report;
}

}  // namespace
