// Saved streams: a 24-byte header, the generator's payload and one record per chunk, written to
// a file or to memory and read back from either. The reader also takes the older 20-byte
// header, which carries "RNG" first and the version in byte 4.
#include <cpuid.h>
#include <stdio.h>
#include <string.h>

#include "qor/core.h"
#include "streams/registry.h"

using rof::kHeaderSize;

namespace {

constexpr uint32_t kMagic = 0x00474E52;  // "RNG\0"
constexpr uint8_t kVersion = 2;
constexpr int kImageHeader = 24, kLegacyHeader = 20;
constexpr int kChunkRecord = 24;  // id, key, size
constexpr int kAlignment = 128;

uint16_t Get16(const uint8_t* p) { return static_cast<uint16_t>(p[0] | (p[1] << 8)); }
uint32_t Get32(const uint8_t* p) {
  uint32_t v;
  memcpy(&v, p, 4);
  return v;
}
void Put16(uint8_t* p, uint32_t v) {
  p[0] = static_cast<uint8_t>(v);
  p[1] = static_cast<uint8_t>(v >> 8);
}
void Put32(uint8_t* p, uint32_t v) { memcpy(p, &v, 4); }

char* Payload(void* stream) { return static_cast<char*>(stream) + kHeaderSize; }
const char* Payload(const void* stream) { return static_cast<const char*>(stream) + kHeaderSize; }
const rofChunk* Chunks(const void* stream) {
  return static_cast<const rofStreamHeader*>(stream)->chunks;
}

// The size of a stream's payload from its row; the properties call's status is not looked at.
int PayloadSize(const void* stream) {
  rofBrngProperties row = {};
  __rofGetBrngProperties(__rofGetStreamStateBrng(stream), &row);
  return row.stateSize - kHeaderSize;
}

// The header fields, from either layout.
struct Header {
  uint8_t raw[kImageHeader];
  int header_size, payload_size, chunk_count, brng;
  bool legacy;
  uint8_t key_form;  // byte 0: 1 or 2 carry chunk keys, 0 none; others cannot be read
};

// raw holds 24 bytes in the current layout (byte 0 is the version 2), else 20 in the old one.
void Decode(Header* h) {
  const uint8_t* r = h->raw;
  h->legacy = r[0] != kVersion;
  h->key_form = r[0];
  if (h->legacy) {
    h->header_size = kImageHeader;
    h->payload_size = Get16(r + 10);
    h->chunk_count = Get16(r + 12);
    h->brng = static_cast<int>(Get32(r + 16));
  } else {
    h->header_size = Get16(r + 8);
    h->payload_size = static_cast<int>(Get32(r + 12));
    h->chunk_count = Get16(r + 16);
    h->brng = static_cast<int>(Get32(r + 20));
  }
}

// The row that the header names, or a status: bad_format and bad_version are the file's or the
// memory's statuses. A row whose generator is not built cannot carry a stream.
int Validate(const Header& h, int bad_format, int bad_version, const rofBrngProperties** table,
             int* row, int* sub_id) {
  const uint8_t* r = h.raw;
  if ((Get32(r + 4) & 0xFFFFFF) != kMagic && (Get32(r) & 0xFFFFFF) != kMagic) return bad_format;
  if (r[0] >= 3 && r[4] > 2) return bad_version;
  // The registry indexes with a negative identifier unchecked; a damaged image must not reach it.
  if (h.brng < 0) return bad_format;
  *table = __rofGetBrngBaseOffset(h.brng, row, sub_id);
  if (__rofIsBrngValid(*table, *row, *sub_id) != ROF_STATUS_OK) return bad_format;
  const rofBrngProperties& properties = (*table)[*row];
  if (properties.initStream == nullptr) return bad_format;
  if (h.payload_size != properties.stateSize - kHeaderSize) return bad_format;
  if (h.header_size < kImageHeader) return bad_format;
  return ROF_STATUS_OK;
}

bool CpuHas(unsigned ecx_bit) {
  unsigned a, b, c, d;
  return __get_cpuid(1, &a, &b, &c, &d) != 0 && ((c >> ecx_bit) & 1) != 0;
}

// The hardware that a generator's saved state needs: RDRAND for TRNG, AES for ARS5.
int HardwareStatus(int brng) {
  if (brng == ROF_BRNG_NONDETERM && !CpuHas(30)) return ROF_STATUS_NO_RDRAND;
  if (brng == ROF_BRNG_ARS5 && !CpuHas(25)) return ROF_STATUS_NO_AES;
  return ROF_STATUS_OK;
}

// Reads the chunk records into the stream. The status of each data read replaces the last, so
// only the last chunk's decides; a bad key form, no memory, or a refused chunk stop at once.
template <class Reader>
int ReadChunks(Reader& in, void* stream, const Header& h) {
  int status = ROF_STATUS_OK;
  for (int k = 0; k < h.chunk_count; ++k) {
    uint32_t id = 0;
    uint64_t key[2] = {0, 0};
    int32_t size = 0;
    in.Read(&id, 4);
    if (h.key_form == 1 || h.key_form == 2)
      in.Read(key, 16);
    else if (h.key_form != 0)
      return ROF_STATUS_FILE_READ;
    in.Read(&size, 4);
    // A negative size asks for more than any allocator has.
    void* data = size < 0 ? nullptr : qor_serv_allocate(static_cast<size_t>(size), kAlignment);
    if (data == nullptr) return ROF_STATUS_NO_MEMORY;
    status = in.Read(data, static_cast<size_t>(size));
    const int added = __rofAddChunk(stream, id, key, data, size);
    if (added != ROF_STATUS_OK) {
      qor_serv_deallocate(data);
      return added;
    }
    // A key already in the shared table gives the chunk the shared data: the bytes just read
    // have no other owner.
    if (static_cast<rofStreamHeader*>(stream)->chunks->data != data) qor_serv_deallocate(data);
  }
  return status;
}

// One record per read; a record of zero bytes counts as short, as fread reports it.
struct FileReader {
  FILE* file;
  int Read(void* p, size_t bytes) {
    return fread(p, bytes, 1, file) == 1 ? ROF_STATUS_OK : ROF_STATUS_FILE_READ;
  }
};

struct MemoryReader {
  const uint8_t* cursor;
  int Read(void* p, size_t bytes) {
    memcpy(p, cursor, bytes);
    cursor += bytes;
    return ROF_STATUS_OK;
  }
};

// The name as a terminated string: a copy with a zero byte added for a length of 0 or more.
struct Name {
  const char* text = nullptr;
  char* copy = nullptr;
  int Prepare(const char* name, int length) {
    if (length < 0) {
      text = name;
      return ROF_STATUS_OK;
    }
    copy = static_cast<char*>(qor_serv_allocate(static_cast<size_t>(length) + 1, kAlignment));
    if (copy == nullptr) return ROF_STATUS_NO_MEMORY;
    memcpy(copy, name, static_cast<size_t>(length));
    copy[length] = '\0';
    text = copy;
    return ROF_STATUS_OK;
  }
  ~Name() {
    if (copy != nullptr) qor_serv_deallocate(copy);
  }
};

// The header as the file holds it: version, header size and chunk count as full words.
void ComposeFileHeader(const void* stream, uint8_t* h) {
  Put32(h, kVersion);
  Put32(h + 4, kMagic);
  Put32(h + 8, kImageHeader);
  Put32(h + 12, static_cast<uint32_t>(PayloadSize(stream)));
  Put32(h + 16, static_cast<uint32_t>(__rofGetNumChunks(stream)));
  Put32(h + 20, static_cast<uint32_t>(__rofGetStreamStateBrng(stream)));
}

// Creates the stream of a validated header and fills its payload and chunks; on failure the
// caller deletes what was created.
template <class Reader>
int Build(void** stream, const Header& h, const rofBrngProperties* table, int row, int sub_id,
          Reader& in) {
  int status = __rofAllocateStream(stream, table, h.brng, row, sub_id);
  if (status != ROF_STATUS_OK) return status;
  status = in.Read(Payload(*stream), static_cast<size_t>(h.payload_size));
  if (status == ROF_STATUS_OK) status = HardwareStatus(h.brng);
  if (status == ROF_STATUS_OK && h.chunk_count != 0) status = ReadChunks(in, *stream, h);
  return status;
}

}  // namespace

extern "C" {

QOR_API int __rofSaveStreamF(const void* stream, const char* name, int nameLength) {
  Name file_name;
  if (file_name.Prepare(name, nameLength) != ROF_STATUS_OK) return ROF_STATUS_NO_MEMORY;
  uint8_t header[kImageHeader];
  ComposeFileHeader(stream, header);
  FILE* file = fopen(file_name.text, "wb");
  if (file == nullptr) return ROF_STATUS_FILE_OPEN;
  const int payload = PayloadSize(stream);
  int status = ROF_STATUS_OK;
  if (fwrite(header, sizeof header, 1, file) != 1 ||
      fwrite(Payload(stream), static_cast<size_t>(payload), 1, file) != 1) {
    status = ROF_STATUS_FILE_WRITE;
  } else {
    // Only the last data write is looked at. A record of zero bytes is a short write, as
    // fwrite counts it.
    for (const rofChunk* c = Chunks(stream); c != nullptr; c = c->next) {
      fwrite(&c->id, 4, 1, file);
      fwrite(c->key, 16, 1, file);
      fwrite(&c->size, 4, 1, file);
      const bool written =
          c->size > 0 && fwrite(c->data, static_cast<size_t>(c->size), 1, file) == 1;
      status = written ? ROF_STATUS_OK : ROF_STATUS_FILE_WRITE;
    }
  }
  if (fclose(file) != 0) return ROF_STATUS_FILE_CLOSE;
  return status;
}

QOR_API int __rofLoadStreamF(void** stream, const char* name, int nameLength) {
  *stream = nullptr;
  Name file_name;
  if (file_name.Prepare(name, nameLength) != ROF_STATUS_OK) return ROF_STATUS_NO_MEMORY;
  FILE* file = fopen(file_name.text, "rb");
  if (file == nullptr) return ROF_STATUS_FILE_OPEN;
  FileReader in{file};
  Header h = {};
  (void)in.Read(h.raw, 8);
  const size_t rest = h.raw[0] == kVersion ? kImageHeader - 8 : kLegacyHeader - 8;
  int status = in.Read(h.raw + 8, rest);
  Decode(&h);
  const rofBrngProperties* table = nullptr;
  int row = 0, sub_id = 0;
  if (status == ROF_STATUS_OK)
    status =
        Validate(h, ROF_STATUS_BAD_FILE_FORMAT, ROF_STATUS_BAD_FILE_VERSION, &table, &row, &sub_id);
  if (status == ROF_STATUS_OK) status = Build(stream, h, table, row, sub_id, in);
  if (fclose(file) != 0) {
    if (*stream != nullptr) __rofDeleteStream(stream);
    return ROF_STATUS_FILE_CLOSE;
  }
  if (status != ROF_STATUS_OK && *stream != nullptr) __rofDeleteStream(stream);
  return status;
}

// Bytes 1 to 3, 10, 11, 18 and 19 of the header are left as the caller had them.
QOR_API int __rofSaveStreamM(const void* stream, void* memory) {
  uint8_t* out = static_cast<uint8_t*>(memory);
  const int payload = PayloadSize(stream);
  out[0] = kVersion;
  Put32(out + 4, kMagic);
  Put16(out + 8, kImageHeader);
  Put32(out + 12, static_cast<uint32_t>(payload));
  Put16(out + 16, static_cast<uint32_t>(__rofGetNumChunks(stream)));
  Put32(out + 20, static_cast<uint32_t>(__rofGetStreamStateBrng(stream)));
  memcpy(out + kImageHeader, Payload(stream), static_cast<size_t>(payload));
  uint8_t* cursor = out + kImageHeader + payload;
  for (const rofChunk* c = Chunks(stream); c != nullptr; c = c->next) {
    memcpy(cursor, &c->id, 4);
    memcpy(cursor + 4, c->key, 16);
    memcpy(cursor + 20, &c->size, 4);
    if (c->size > 0) memcpy(cursor + kChunkRecord, c->data, static_cast<size_t>(c->size));
    cursor += kChunkRecord + c->size;
  }
  return ROF_STATUS_OK;
}

QOR_API int __rofLoadStreamM(void** stream, const void* memory) {
  *stream = nullptr;
  const uint8_t* image = static_cast<const uint8_t*>(memory);
  Header h = {};
  const size_t header = image[0] == kVersion ? kImageHeader : kLegacyHeader;
  memcpy(h.raw, image, header);
  Decode(&h);
  const rofBrngProperties* table = nullptr;
  int row = 0, sub_id = 0;
  const int status = Validate(h, ROF_STATUS_BAD_MEMORY_FORMAT, ROF_STATUS_BAD_MEMORY_FORMAT, &table,
                              &row, &sub_id);
  if (status != ROF_STATUS_OK) return status;
  MemoryReader in{image + header};
  const int built = Build(stream, h, table, row, sub_id, in);
  if (built != ROF_STATUS_OK && *stream != nullptr) __rofDeleteStream(stream);
  return built;
}

}  // extern "C"
