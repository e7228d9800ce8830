// Saved streams: round trips, header checks, the older header, cuts, memory, fuzzer corpus.
#include <dirent.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "stream_helpers.h"

namespace {
using Bytes = std::vector<uint8_t>;

const int kGenerators[] = {ROF_BRNG_MCG31M1, ROF_BRNG_MCG59, ROF_BRNG_MT19937, ROF_BRNG_MT2203 + 2};

// Every test leaks nothing and removes its file.
class PersistenceTest : public LeakCheckedTest {
 protected:
  ~PersistenceTest() override { remove(name.c_str()); }
  const std::string name = testing::TempDir() + "qor_persistence_" + std::to_string(getpid());
};

Bytes ReadFile(const std::string& name) {
  std::ifstream f(name, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(f), std::istreambuf_iterator<char>());
}

void WriteFile(const std::string& name, const Bytes& b) {
  std::ofstream(name, std::ios::binary).write(reinterpret_cast<const char*>(b.data()), b.size());
}

// A stream of `brng` moved on a little, with chunks 5 (10 bytes) and 7 (3 bytes) if asked.
void* MakeStream(int brng, bool chunks) {
  void* s = nullptr;
  const uint32_t seed[2] = {123, 456};
  EXPECT_EQ(__rofNewStreamEx(&s, brng, 2, seed), ROF_STATUS_OK);
  uint64_t words[40];
  __RegBrngsNew[(brng >> 20) - 1].iBrng(s, 37, words);
  if (chunks) {
    EXPECT_EQ(__rofAddChunk(s, 5, nullptr, ChunkData(10, 0xA5), 10), ROF_STATUS_OK);
    EXPECT_EQ(__rofAddChunk(s, 7, nullptr, ChunkData(3, 0x3C), 3), ROF_STATUS_OK);
  }
  return s;
}

int PayloadBytes(const void* s) {
  rofBrngProperties p;
  __rofGetBrngProperties(__rofGetStreamStateBrng(s), &p);
  return p.stateSize - 16;
}

// The file `name` and `image` load into streams with the state of `s` and chunks `ids`.
void ExpectLoads(const std::string& name, const Bytes& image, const void* s,
                 const std::vector<uint32_t>& ids) {
  void* loaded[2] = {nullptr, nullptr};
  ASSERT_EQ(__rofLoadStreamF(&loaded[0], name.c_str(), -1), ROF_STATUS_OK);
  ASSERT_EQ(__rofLoadStreamM(&loaded[1], image.data()), ROF_STATUS_OK);
  for (void* t : loaded) {
    EXPECT_EQ(__rofGetStreamStateBrng(t), __rofGetStreamStateBrng(s));
    EXPECT_EQ(memcmp(static_cast<const char*>(s) + 16, static_cast<char*>(t) + 16,
                     PayloadBytes(s)), 0);
    EXPECT_EQ(ChunkIds(t), ids);
    if (!ids.empty()) EXPECT_EQ(*static_cast<uint8_t*>(__rofSearchChunk(t, 5)), 0xA5);
    __rofDeleteStream(&t);
  }
}

// Loads the file `name` (or `image`, if given); a failed load must leave no stream.
int Load(const std::string& name, const Bytes* image = nullptr) {
  void* loaded = &loaded;
  const int status = image ? __rofLoadStreamM(&loaded, image->data())
                           : __rofLoadStreamF(&loaded, name.c_str(), -1);
  EXPECT_EQ(status == ROF_STATUS_OK, loaded != nullptr) << name << " status " << status;
  if (status == ROF_STATUS_OK) __rofDeleteStream(&loaded);
  return status;
}

Bytes SaveM(const void* s) {
  Bytes image(__rofGetStreamSize(s), 0xEE);
  EXPECT_EQ(__rofSaveStreamM(s, image.data()), ROF_STATUS_OK);
  return image;
}

TEST_F(PersistenceTest, RoundTripsThroughFileAndMemory) {
  for (int brng : kGenerators)
    for (bool chunks : {false, true}) {
      SCOPED_TRACE(testing::Message() << brng << " " << chunks);
      void* s = MakeStream(brng, chunks);
      // An unterminated name: the length says where it ends.
      ASSERT_EQ(__rofSaveStreamF(s, (name + "XYZ").c_str(), static_cast<int>(name.size())), 0);
      const Bytes image = SaveM(s);
      EXPECT_EQ(static_cast<int>(image.size()), PayloadBytes(s) + 24 + (chunks ? 24 * 2 + 13 : 0));
      // The memory image leaves bytes 1-3, 10-11 and 18-19 alone; the file has zeros there.
      Bytes masked = image;
      for (int i : {1, 2, 3, 10, 11, 18, 19}) masked[i] = image[i] == 0xEE ? 0 : 1;
      EXPECT_EQ(masked, ReadFile(name));
      // The reader adds at the head: the chunks come back reversed.
      ExpectLoads(name, image, s, chunks ? std::vector<uint32_t>{5, 7} : std::vector<uint32_t>{});
      __rofDeleteStream(&s);
    }
}

TEST_F(PersistenceTest, EachHeaderFaultHasItsStatusAndLeavesNoStream) {
  void* s = MakeStream(ROF_BRNG_MT19937, true);
  const Bytes good = SaveM(s);
  __rofDeleteStream(&s);
  // One field of a good image changed: the file's status; in memory, always a bad format.
  const struct { const char* what; int offset, size; uint32_t value; int file_status; } cases[] = {
      {"magic", 4, 3, 0x474E51, ROF_STATUS_BAD_FILE_FORMAT},
      {"version 3", 0, 1, 3, ROF_STATUS_BAD_FILE_VERSION},
      {"member 6024", 20, 4, ROF_BRNG_MT2203 + 6024, ROF_STATUS_BAD_FILE_FORMAT},
      {"unbuilt generator", 20, 4, ROF_BRNG_R250, ROF_STATUS_BAD_FILE_FORMAT},
      {"payload size", 12, 4, 2524, ROF_STATUS_BAD_FILE_FORMAT},
      {"header size", 8, 2, 20, ROF_STATUS_BAD_FILE_FORMAT},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    Bytes bad = good;
    for (int i = 0; i < c.size; ++i) bad[c.offset + i] = static_cast<uint8_t>(c.value >> (8 * i));
    WriteFile(name, bad);
    EXPECT_EQ(Load(name), c.file_status);
    EXPECT_EQ(Load(name, &bad), ROF_STATUS_BAD_MEMORY_FORMAT);
  }
  EXPECT_EQ(Load(name + "-missing"), ROF_STATUS_FILE_OPEN);
  void* any = MakeStream(ROF_BRNG_MCG31M1, false);
  EXPECT_EQ(__rofSaveStreamF(any, "/nonexistent-directory/stream", -1), ROF_STATUS_FILE_OPEN);
  __rofDeleteStream(&any);
}

// The 20-byte header: "RNG", the version in byte 4, payload size, chunk count, identifier.
Bytes LegacyImage(const void* s, int chunk_count) {
  const int payload = PayloadBytes(s);
  Bytes b(20 + payload, 0);
  memcpy(b.data(), "RNG", 3);
  b[4] = 2;
  b[10] = static_cast<uint8_t>(payload);
  b[11] = static_cast<uint8_t>(payload >> 8);
  b[12] = static_cast<uint8_t>(chunk_count);
  const int brng = __rofGetStreamStateBrng(s);
  memcpy(b.data() + 16, &brng, 4);
  memcpy(b.data() + 20, static_cast<const char*>(s) + 16, payload);
  return b;
}

TEST_F(PersistenceTest, OlderHeaderLoadsWithoutChunksAndRefusesChunks) {
  for (int brng : kGenerators) {
    void* s = MakeStream(brng, false);
    Bytes legacy = LegacyImage(s, 0);
    WriteFile(name, legacy);
    ExpectLoads(name, legacy, s, {});
    // With a chunk, the reader cannot tell the key's form and stops.
    Bytes with_chunk = LegacyImage(s, 1);
    with_chunk.resize(with_chunk.size() + 40, 0);
    WriteFile(name, with_chunk);
    EXPECT_EQ(Load(name), ROF_STATUS_FILE_READ);
    EXPECT_EQ(Load(name, &with_chunk), ROF_STATUS_FILE_READ);
    legacy[4] = 3;  // a version above 2
    EXPECT_EQ(Load(name, &legacy), ROF_STATUS_BAD_MEMORY_FORMAT);
    __rofDeleteStream(&s);
  }
}

// A last chunk of zero bytes is a short transfer for writer and reader alike.
TEST_F(PersistenceTest, EmptyLastChunkIsAShortTransfer) {
  void* s = MakeStream(ROF_BRNG_MCG59, false);
  ASSERT_EQ(__rofAddChunk(s, 9, nullptr, nullptr, 0), ROF_STATUS_OK);
  EXPECT_EQ(__rofSaveStreamF(s, name.c_str(), -1), ROF_STATUS_FILE_WRITE);
  EXPECT_EQ(Load(name), ROF_STATUS_FILE_READ);
  void* loaded = nullptr;  // in memory nothing is short
  ASSERT_EQ(__rofLoadStreamM(&loaded, SaveM(s).data()), ROF_STATUS_OK);
  EXPECT_EQ(ChunkIds(loaded), std::vector<uint32_t>({9}));
  __rofDeleteStream(&loaded);
  __rofDeleteStream(&s);
}

// Chunks of a known key come back sharing the table's data; their read bytes are freed.
TEST_F(PersistenceTest, SharedChunksComeBackShared) {
  const uint64_t key[2] = {0x5EED, 0xC0FFEE};
  void* s = MakeStream(ROF_BRNG_MCG31M1, false);
  void* shared = ChunkData(16, 0x11);
  ASSERT_EQ(__rofAddChunk(s, 1, key, shared, 16), ROF_STATUS_OK);
  ASSERT_EQ(__rofAddChunk(s, 2, key, shared, 16), ROF_STATUS_OK);
  ASSERT_EQ(__rofSaveStreamF(s, name.c_str(), -1), ROF_STATUS_OK);
  void* from_memory = nullptr;
  void* from_file = nullptr;
  ASSERT_EQ(__rofLoadStreamM(&from_memory, SaveM(s).data()), ROF_STATUS_OK);
  ASSERT_EQ(__rofLoadStreamF(&from_file, name.c_str(), -1), ROF_STATUS_OK);
  for (void* loaded : {from_memory, from_file})
    EXPECT_TRUE(__rofSearchChunk(loaded, 1) == shared && __rofSearchChunk(loaded, 2) == shared);
  for (void* t : {s, from_file, from_memory}) __rofDeleteStream(&t);
}

TEST_F(PersistenceTest, EveryAllocationFailureGivesNoMemoryAndLeavesNothing) {
  void* s = MakeStream(ROF_BRNG_MT19937, true);
  ASSERT_EQ(__rofSaveStreamF(s, name.c_str(), -1), 0);
  const Bytes image = SaveM(s);
  void* loaded = nullptr;
  auto check = [&](int status) { EXPECT_TRUE(status == ROF_STATUS_NO_MEMORY && !loaded); };
  auto clean = [&] { if (loaded != nullptr) __rofDeleteStream(&loaded); };
  const int length = static_cast<int>(name.size());
  EXPECT_GE(alloc_control::ForEachFailure(
                [&] { return __rofLoadStreamF(&loaded, name.c_str(), length); }, check, clean), 6);
  EXPECT_GE(alloc_control::ForEachFailure([&] { return __rofLoadStreamM(&loaded, image.data()); },
                                          check, clean), 5);
  EXPECT_EQ(alloc_control::ForEachFailure([&] { return __rofSaveStreamF(s, name.c_str(), length); },
                [](int status) { EXPECT_EQ(status, ROF_STATUS_NO_MEMORY); }, [] {}), 1);
  __rofDeleteStream(&s);
}

// Every prefix of a file with chunks, and every input the fuzzer kept, loads or fails cleanly:
// no crash, no leak, no stream on failure.
TEST_F(PersistenceTest, TruncatedFilesAndFuzzerCorpusFailCleanly) {
  void* s = MakeStream(ROF_BRNG_MT2203 + 1, true);
  ASSERT_EQ(__rofSaveStreamF(s, name.c_str(), -1), 0);
  const Bytes full = ReadFile(name);
  __rofDeleteStream(&s);
  for (size_t cut = 0; cut < full.size(); ++cut) {
    WriteFile(name, Bytes(full.begin(), full.begin() + cut));
    const int status = Load(name);
    ASSERT_TRUE(status == ROF_STATUS_FILE_READ || status == ROF_STATUS_BAD_FILE_FORMAT) << cut;
  }
  DIR* dir = opendir(QOR_LOAD_STREAM_CORPUS);
  ASSERT_NE(dir, nullptr);
  int files = 0;
  for (dirent* e; (e = readdir(dir)) != nullptr;) {
    if (e->d_name[0] == '.') continue;
    Load(std::string(QOR_LOAD_STREAM_CORPUS) + "/" + e->d_name);
    ++files;
  }
  closedir(dir);
  EXPECT_GT(files, 10);
}
}  // namespace
