/* Random streams: the stream record, the generator registries, chunks and shared read-only
   data, leapfrog and skip-ahead, and the basic generators. Every call returns a status of the
   ROF_STATUS_ list unless noted; handles and arguments are trusted. */
#ifndef QOR_ROF_H_
#define QOR_ROF_H_

#include <stdint.h>

#include "qor/export.h"

QOR_EXTERN_C_BEGIN

/* Status codes of the random streams, the basic and the distribution generators. */
enum {
  ROF_STATUS_OK = 0,
  ROF_STATUS_BAD_METHOD = -2,
  ROF_STATUS_BAD_ARGS = -3,
  ROF_STATUS_NO_MEMORY = -4,
  ROF_STATUS_NULL_POINTER = -5,
  ROF_STATUS_BAD_BRNG = -1000,
  ROF_STATUS_NO_LEAPFROG = -1002,
  ROF_STATUS_NO_SKIPAHEAD = -1003,
  ROF_STATUS_NO_SKIPAHEAD_EX = -1004,
  ROF_STATUS_BAD_STATE_SIZE = -1008,
  ROF_STATUS_BAD_WORD_SIZE = -1009,
  ROF_STATUS_BAD_SEED_COUNT = -1010,
  ROF_STATUS_BAD_BIT_COUNT = -1011,
  ROF_STATUS_QRNG_EXHAUSTED = -1012,
  ROF_STATUS_BAD_STREAM_COUNT = -1013,
  ROF_STATUS_BRNG_UNSUITABLE = -1014,
  ROF_STATUS_FILE_CLOSE = -1100,
  ROF_STATUS_FILE_OPEN = -1101,
  ROF_STATUS_FILE_WRITE = -1102,
  ROF_STATUS_FILE_READ = -1103,
  ROF_STATUS_BAD_FILE_FORMAT = -1110,
  ROF_STATUS_BAD_FILE_VERSION = -1111,
  ROF_STATUS_ABSTRACT_BAD_UPDATE = -1120,
  ROF_STATUS_ABSTRACT_NO_NUMBERS = -1121,
  ROF_STATUS_ABSTRACT_WRONG_FORM = -1122,
  ROF_STATUS_NO_RDRAND = -1130,
  ROF_STATUS_RDRAND_FAILED = -1131,
  ROF_STATUS_NO_AES = -1140,
  ROF_STATUS_BAD_CATEGORY_COUNT = -1150,
  ROF_STATUS_BAD_MEMORY_FORMAT = -1200,
  ROF_STATUS_RO_NOT_FOUND = -3000,
  ROF_STATUS_RO_TABLE_FULL = -3001
};

/* Methods of an initStream function. */
enum { rofInitStandard = 0, rofInitLeapfrog = 1, rofInitSkipAhead = 2, rofInitSkipAheadEx = 3 };

/* Family identifiers: ((row + 1) << 20); a member adds its sub-identifier. */
enum {
  ROF_BRNG_MCG31M1 = 0x100000,
  ROF_BRNG_R250 = 0x200000,
  ROF_BRNG_MRG32K3A = 0x300000,
  ROF_BRNG_MCG59 = 0x400000,
  ROF_BRNG_WH = 0x500000,
  ROF_BRNG_SOBOL = 0x600000,
  ROF_BRNG_NIEDERR = 0x700000,
  ROF_BRNG_MT19937 = 0x800000,
  ROF_BRNG_MT2203 = 0x900000,
  ROF_BRNG_IABSTRACT = 0xA00000,
  ROF_BRNG_DABSTRACT = 0xB00000,
  ROF_BRNG_SABSTRACT = 0xC00000,
  ROF_BRNG_SFMT19937 = 0xD00000,
  ROF_BRNG_NONDETERM = 0xE00000,
  ROF_BRNG_ARS5 = 0xF00000,
  ROF_BRNG_PHILOX4X32X10 = 0x1000000
};

/* A node of a stream's list of cached data (40 bytes). A nonzero key names data shared
   through the table of read-only entries. */
typedef struct rofChunk {
  uint32_t id;
  int32_t size;
  void* data;
  struct rofChunk* next;
  uint64_t key[2];
} rofChunk;

/* An entry of the process-wide table of shared read-only data. */
typedef struct rofRODataEntry {
  uint64_t key[2];
  uint32_t references;
  void* data;
} rofRODataEntry;

/* The first 16 bytes of every stream record; the generator's state follows. A stream handle
   (void*) points to this header. */
typedef struct rofStreamHeader {
  int32_t brng;     /* identifier as created, sub-identifier included */
  int32_t reserved; /* 1 at creation */
  rofChunk* chunks; /* newest first, NULL when none */
} rofStreamHeader;

/* Generator functions. The integer form writes n elements of the row's wordSize bytes. */
typedef int (*rofInitStreamFn)(int method, void* stream, int n, const void* params);
typedef int (*rofsBrngFn)(void* stream, int n, float r[], float a, float b);
typedef int (*rofdBrngFn)(void* stream, int n, double r[], double a, double b);
typedef int (*rofiBrngFn)(void* stream, int n, void* r);

/* One registry row (56 bytes). */
typedef struct rofBrngProperties {
  int32_t stateSize; /* bytes of the whole stream record, header included */
  int32_t seedCount; /* 32-bit seed words that determine the state */
  int32_t includesZero;
  int32_t wordSize; /* bytes per element of the integer form: 4, 8 or 16 */
  int32_t bitCount; /* meaningful low bits of an integer element */
  int32_t zero;     /* always 0 */
  rofInitStreamFn initStream;
  rofsBrngFn sBrng;
  rofdBrngFn dBrng;
  rofiBrngFn iBrng;
} rofBrngProperties;

/* The current registry (512 rows, 16 built in) and the legacy one (281 rows). */
QOR_API extern rofBrngProperties __RegBrngsNew[512];
QOR_API extern rofBrngProperties __RegBrngs[281];

/* Registry. */
QOR_API rofBrngProperties* __rofGetBrngBaseOffset(int brng, int* row, int* subId);
QOR_API int __rofIsBrngValid(const rofBrngProperties* table, int row, int subId);
QOR_API int __rofGetBrngProperties(int brng, rofBrngProperties* properties);
QOR_API int __rofGetNumRegBrngs(void);
/* Appends a user generator's row; returns its family id or a negative status. */
QOR_API int __rofRegisterBrng(const rofBrngProperties* properties);
QOR_API int __rofGetStreamStateBrng(const void* stream);
/* Bytes of the memory image of the stream, chunks included. */
QOR_API int __rofGetStreamSize(const void* stream);

/* Lifecycle. */
QOR_API int __rofNewStreamEx(void** stream, int brng, int n, const uint32_t params[]);
QOR_API int __rofAllocateStream(void** stream, const rofBrngProperties* table, int brng, int row,
                                int subId);
QOR_API int __rofDeleteStream(void** stream);
QOR_API int __rofCopyStream(void** newStream, const void* source);
QOR_API int __rofCopyStreamState(void* destination, const void* source);

/* Leapfrog and skip-ahead, through the generator's initStream. */
QOR_API int __rofLeapfrogStream(void* stream, int k, int nstreams);
QOR_API int __rofSkipAheadStream(void* stream, long long nskip);
QOR_API int __rofSkipAheadStreamEx(void* stream, int n, const uint64_t nskip[]);

/* Modular powers a^e by right-to-left binary exponentiation; 1 for e = 0. */
QOR_API uint32_t __rofiPowMod(uint32_t a, uint64_t e, uint32_t m);
QOR_API uint32_t __rofiPowMod2P31M1(uint32_t a, uint64_t e);
QOR_API uint64_t __rofiPowMod2P59(uint64_t a, uint64_t e);

/* Three-term recurrences mod m, for MRG32K3A: v (oldest first) advanced by e steps of
   v' = (v1, v2, c0 v2 + c1 v1 + c2 v0 mod m). The _M1 and _M2 forms take an exponent of n
   64-bit digits below 2^192 and the component's table of B^(2^i); the general form takes any
   exponent and may fail for memory. */
QOR_API void __rofiVect3PowMod(uint32_t v[3], const uint32_t c[3], uint32_t m, uint64_t e);
QOR_API void __rofiVect3PowArrayMod_M1(uint32_t v[3], int n, const uint64_t digits[],
                                       const uint32_t table[193][9]);
QOR_API void __rofiVect3PowArrayMod_M2(uint32_t v[3], int n, const uint64_t digits[],
                                       const uint32_t table[193][9]);
QOR_API int __rofiVect3PowArrayMod(uint32_t v[3], const uint32_t c[3], uint32_t m, int n,
                                   const uint64_t digits[]);

/* Jumps of a linear recurrence over GF(2) by x^nskip modulo its characteristic polynomial. */
typedef struct rofSkipAheadDesc {
  uint64_t nskip;         /* elements still to pass over */
  int32_t polyWords;      /* 64-bit words of the remainder buffer, twice the polynomial */
  int32_t degree;         /* degree of the characteristic polynomial */
  int32_t stateBytes;     /* bytes of one working state record */
  int32_t termCount;      /* nonzero terms of the polynomial */
  const uint32_t* terms;  /* ascending exponents, from 0 to degree */
} rofSkipAheadDesc;

/* The generator's side of a jump; states are records laid out as the stream's. */
typedef void (*rofJumpZeroFn)(void* state);
typedef void (*rofJumpAddFn)(void* accumulator, const void* state, int unused);
typedef void (*rofJumpCopyFn)(void* destination, const void* source, int unused);
typedef void (*rofJumpStepFn)(void* state);
typedef void (*rofJumpFinishFn)(void* stream, const void* accumulator, int flag);
/* Spends what the stream's current block allows of desc->nskip; 0 when nothing remains. */
typedef int (*rofJumpPrepareFn)(void* stream, rofSkipAheadDesc* desc, int* flag);

/* x^nskip mod the sparse polynomial into out (polyWords words, also the squaring buffer). */
QOR_API int __rofPolyRem(uint64_t nskip, int degree, int termCount, const uint32_t terms[],
                         int polyWords, uint64_t out[]);
/* The jump by Horner's rule, and by an 8-bit sliding window with a table of 128 states. */
QOR_API int __rof_SkipAheadHorner(void* stream, rofJumpZeroFn zero, rofJumpAddFn add,
                                  rofJumpCopyFn copy, rofJumpStepFn step, rofJumpFinishFn finish,
                                  rofJumpPrepareFn prepare, rofSkipAheadDesc* desc);
QOR_API int __rof_SkipAheadSWin(void* stream, rofJumpZeroFn zero, rofJumpAddFn add,
                                rofJumpCopyFn copy, rofJumpStepFn step, rofJumpFinishFn finish,
                                rofJumpPrepareFn prepare, rofSkipAheadDesc* desc);

/* Saved streams, to a file (name of nameLength bytes, or terminated if negative) or to
   memory (__rofGetStreamSize bytes). */
QOR_API int __rofSaveStreamF(const void* stream, const char* name, int nameLength);
QOR_API int __rofLoadStreamF(void** stream, const char* name, int nameLength);
QOR_API int __rofSaveStreamM(const void* stream, void* memory);
QOR_API int __rofLoadStreamM(void** stream, const void* memory);

/* Chunks. __rofAddChunk takes ownership of `data` unless `key` names data already shared. */
QOR_API int __rofAddChunk(void* stream, uint32_t id, const uint64_t key[2], void* data,
                          int size);
QOR_API void* __rofSearchChunk(const void* stream, uint32_t id);
QOR_API int __rofGetNumChunks(const void* stream);
QOR_API void __rofDeleteChunks(void* stream);
QOR_API void __rofDeleteChunksById(void* stream, uint32_t id);
QOR_API int __rofCopyChunks(void* destination, const void* source);

/* The table of shared read-only data (128 entries, one spin lock). */
QOR_API int __rofFindGlobRODataTableEntry(rofRODataEntry** entry, const uint64_t key[2]);
QOR_API int __rofCreateGlobRODataTableEntry(rofRODataEntry** entry, const uint64_t key[2],
                                            void* data);
QOR_API void __rofRegisterGlobRODataReference(rofChunk* chunk, const uint64_t key[2]);
QOR_API void __rofUnregisterGlobRODataReference(const uint64_t key[2]);
QOR_API int __rofGenerateNewGlobalRODataTableEntryId(uint64_t key[2], uint64_t tag);

/* MCG31M1: x' = 1132489760 * x mod (2^31 - 1). */
QOR_API int __rofBRngMCG31M1InitStream(int method, void* stream, int n, const void* params);
QOR_API int __rofsBRngMCG31M1(void* stream, int n, float r[], float a, float b);
QOR_API int __rofdBRngMCG31M1(void* stream, int n, double r[], double a, double b);
QOR_API int __rofiBRngMCG31M1(void* stream, int n, void* r);

/* MCG59: x' = 13^13 * x mod 2^59; the integer form writes 64-bit words. */
QOR_API int __rofBRngMCG59InitStream(int method, void* stream, int n, const void* params);
QOR_API int __rofsBRngMCG59(void* stream, int n, float r[], float a, float b);
QOR_API int __rofdBRngMCG59(void* stream, int n, double r[], double a, double b);
QOR_API int __rofiBRngMCG59(void* stream, int n, void* r);

/* MT19937 and MT2203 (member = sub-identifier, 0 to 6023): seeded by a key array. */
QOR_API int __rofBRngMT19937InitStream(int method, void* stream, int n, const void* params);
QOR_API int __rofsBRngMT19937(void* stream, int n, float r[], float a, float b);
QOR_API int __rofdBRngMT19937(void* stream, int n, double r[], double a, double b);
QOR_API int __rofiBRngMT19937(void* stream, int n, void* r);
QOR_API int __rofBRngMT2203InitStream(int method, void* stream, int n, const void* params);
QOR_API int __rofsBRngMT2203(void* stream, int n, float r[], float a, float b);
QOR_API int __rofdBRngMT2203(void* stream, int n, double r[], double a, double b);
QOR_API int __rofiBRngMT2203(void* stream, int n, void* r);

/* Distribution generators. Every one takes (method, stream, n, r, parameters...) and returns a
   status; n < 1 writes nothing. Bit 30 of the method word asks for results clamped into the
   distribution's closed support, where the generator has such a form. */
#define ROF_ACCURATE_BIT 0x40000000

/* Gaussian methods; GaussianMV storages of the factor. */
enum { ROF_GAUSSIAN_BOXMULLER = 0, ROF_GAUSSIAN_BOXMULLER2 = 1, ROF_GAUSSIAN_ICDF = 2 };
enum { ROF_MATRIX_FULL = 0, ROF_MATRIX_PACKED = 1, ROF_MATRIX_DIAGONAL = 2 };

QOR_API int _rofsRngUniform(int method, void* stream, int n, float r[], float a, float b);
QOR_API int _rofdRngUniform(int method, void* stream, int n, double r[], double a, double b);
QOR_API int _rofiRngUniform(int method, void* stream, int n, int r[], int a, int b);
QOR_API int _rofiRngUniformBits(int method, void* stream, int n, unsigned int r[]);
QOR_API int _rofiRngUniformBits32(int method, void* stream, int n, unsigned int r[]);
QOR_API int _rofiRngUniformBits64(int method, void* stream, int n, unsigned long long r[]);

QOR_API int _rofsRngGaussian(int method, void* stream, int n, float r[], float a, float sigma);
QOR_API int _rofdRngGaussian(int method, void* stream, int n, double r[], double a,
                             double sigma);
QOR_API int _rofsRngGaussianMV(int method, void* stream, int n, float r[], int dimen,
                               int mstorage, const float a[], const float t[]);
QOR_API int _rofdRngGaussianMV(int method, void* stream, int n, double r[], int dimen,
                               int mstorage, const double a[], const double t[]);
QOR_API int _rofsRngLognormal(int method, void* stream, int n, float r[], float a, float sigma,
                              float b, float beta);
QOR_API int _rofdRngLognormal(int method, void* stream, int n, double r[], double a,
                              double sigma, double b, double beta);

QOR_API int _rofsRngExponential(int method, void* stream, int n, float r[], float a, float beta);
QOR_API int _rofdRngExponential(int method, void* stream, int n, double r[], double a,
                                double beta);
QOR_API int _rofsRngLaplace(int method, void* stream, int n, float r[], float a, float beta);
QOR_API int _rofdRngLaplace(int method, void* stream, int n, double r[], double a, double beta);
QOR_API int _rofsRngWeibull(int method, void* stream, int n, float r[], float alpha, float a,
                            float beta);
QOR_API int _rofdRngWeibull(int method, void* stream, int n, double r[], double alpha, double a,
                            double beta);
QOR_API int _rofsRngCauchy(int method, void* stream, int n, float r[], float a, float beta);
QOR_API int _rofdRngCauchy(int method, void* stream, int n, double r[], double a, double beta);
QOR_API int _rofsRngRayleigh(int method, void* stream, int n, float r[], float a, float beta);
QOR_API int _rofdRngRayleigh(int method, void* stream, int n, double r[], double a, double beta);
QOR_API int _rofsRngGumbel(int method, void* stream, int n, float r[], float a, float beta);
QOR_API int _rofdRngGumbel(int method, void* stream, int n, double r[], double a, double beta);

QOR_API int _rofsRngGamma(int method, void* stream, int n, float r[], float alpha, float a,
                          float beta);
QOR_API int _rofdRngGamma(int method, void* stream, int n, double r[], double alpha, double a,
                          double beta);
QOR_API int _rofsRngBeta(int method, void* stream, int n, float r[], float p, float q, float a,
                         float beta);
QOR_API int _rofdRngBeta(int method, void* stream, int n, double r[], double p, double q,
                         double a, double beta);
QOR_API int _rofsRngChiSquare(int method, void* stream, int n, float r[], int v);
QOR_API int _rofdRngChiSquare(int method, void* stream, int n, double r[], int v);

QOR_EXTERN_C_END

#endif /* QOR_ROF_H_ */
