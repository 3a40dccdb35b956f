// Report files as OLE compound files, through the structured storage API.
//
// The storage is opened with StgOpenStorage (the property-set interface is
// then queried from it where needed); the summary stream is read as bytes and
// decoded by the core's property set reader.
#include "engine/win/compound_report_files.h"

#include <windows.h>
#include <objbase.h>
#include <propidl.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include "base/win/com.h"
#include "engine/summary_information.h"

namespace mervane::engine {

// The summary reader's numbers are the system's, and the records handed to
// the property storage have the layout ole32 expects on each target.
static_assert(summary::kPidCodePage == PID_CODEPAGE && summary::kPidTitle == PIDSI_TITLE &&
              summary::kPidComments == PIDSI_COMMENTS);
static_assert(summary::kVtI2 == VT_I2 && summary::kVtLpstr == VT_LPSTR && summary::kVtLpwstr == VT_LPWSTR);
static_assert(sizeof(PROPSPEC) == 2 * sizeof(void*) && offsetof(PROPSPEC, propid) == sizeof(void*));
static_assert(sizeof(PROPVARIANT) == (sizeof(void*) == 8 ? 24 : 16) && offsetof(PROPVARIANT, iVal) == 8 &&
              offsetof(PROPVARIANT, pszVal) == 8 && offsetof(PROPVARIANT, pwszVal) == 8);

namespace {

using win::ComError;
using win::ComPtr;
using win::check;

constexpr wchar_t kSummaryStream[] = L"\005SummaryInformation";
// The engine's own report definition (model/definition_stream.h).
constexpr wchar_t kDefinitionStream[] = L"ReportDefinition";
constexpr ULONGLONG kLargestDefinition = 16u << 20;
// A summary holds a few strings and perhaps a thumbnail; anything larger is
// not one.
constexpr ULONGLONG kLargestSummary = 16u << 20;
// Files taken into memory by ByTemporaryCopy.
constexpr LONGLONG kLargestSnapshot = 1LL << 30;
// Storages nested deeper than this are taken for a damaged directory.
constexpr int kDeepestStorage = 64;
constexpr UINT kUnicodeCodePage = 1200;
constexpr ULONG kCopyChunk = 64 * 1024;

// A compound file whose content cannot be read in full.
const HRESULT kDamaged = STG_E_DOCFILECORRUPT;

[[noreturn]] void throwLastError() {
  DWORD error = GetLastError();
  throw ComError(error ? HRESULT_FROM_WIN32(error) : E_FAIL);
}

class FileHandle {
 public:
  explicit FileHandle(HANDLE h) : h_(h) {}
  FileHandle(const FileHandle&) = delete;
  FileHandle& operator=(const FileHandle&) = delete;
  ~FileHandle() {
    if (valid()) CloseHandle(h_);
  }
  bool valid() const { return h_ != INVALID_HANDLE_VALUE; }
  HANDLE get() const { return h_; }

 private:
  HANDLE h_;
};

// Memory from GlobalAlloc, freed unless handed over.
class GlobalMemory {
 public:
  explicit GlobalMemory(SIZE_T size) : h_(GlobalAlloc(GMEM_MOVEABLE, size)) {
    if (!h_) throw std::bad_alloc();
  }
  GlobalMemory(const GlobalMemory&) = delete;
  GlobalMemory& operator=(const GlobalMemory&) = delete;
  ~GlobalMemory() {
    if (h_) GlobalFree(h_);
  }
  HGLOBAL get() const { return h_; }
  HGLOBAL release() { return std::exchange(h_, nullptr); }

 private:
  HGLOBAL h_;
};

// The name a STATSTG carries, freed with the task allocator.
struct Stat : STATSTG {
  Stat() : STATSTG{} {}
  Stat(const Stat&) = delete;
  Stat& operator=(const Stat&) = delete;
  ~Stat() { CoTaskMemFree(pwcsName); }
};

// Reads `size` bytes of a stream into `into` (or, when null, reads and drops
// them); a short read means a damaged file.
void readExactly(IStream* stream, ULONGLONG size, std::uint8_t* into) {
  std::vector<std::uint8_t> scratch(into ? 0 : static_cast<std::size_t>(std::min<ULONGLONG>(size, kCopyChunk)));
  for (ULONGLONG done = 0; done < size;) {
    ULONG want = static_cast<ULONG>(std::min<ULONGLONG>(size - done, kCopyChunk));
    ULONG got = 0;
    check(stream->Read(into ? into + done : scratch.data(), want, &got));
    if (got != want) throw ComError(kDamaged);
    done += got;
  }
}

ULONGLONG streamSize(IStream* stream) {
  Stat stat;
  check(stream->Stat(&stat, STATFLAG_NONAME));
  return stat.cbSize.QuadPart;
}

// Reads every stream of a storage and its sub-storages in full, so that a
// damaged source is found before anything is written from it.
void requireReadable(IStorage* storage, int depth) {
  if (depth > kDeepestStorage) throw ComError(kDamaged);
  ComPtr<IEnumSTATSTG> elements;
  check(storage->EnumElements(0, nullptr, 0, elements.put()));
  for (;;) {
    Stat element;
    ULONG fetched = 0;
    check(elements->Next(1, &element, &fetched));
    if (fetched == 0) break;
    if (element.type == STGTY_STREAM) {
      ComPtr<IStream> stream;
      check(storage->OpenStream(element.pwcsName, nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, 0, stream.put()));
      readExactly(stream.get(), element.cbSize.QuadPart, nullptr);
    } else if (element.type == STGTY_STORAGE) {
      ComPtr<IStorage> child;
      check(storage->OpenStorage(element.pwcsName, nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, nullptr, 0,
                                 child.put()));
      requireReadable(child.get(), depth + 1);
    }
  }
}

Text decode(const PropertyString& value, std::optional<std::uint16_t> codePage) {
  if (value.isUnicode) return value.unicode;
  if (value.bytes.empty()) return Text();
  const int length = static_cast<int>(value.bytes.size());
  UINT page = codePage.value_or(CP_ACP);
  int needed = MultiByteToWideChar(page, 0, value.bytes.data(), length, nullptr, 0);
  if (needed <= 0) {  // a code page this system does not know
    page = CP_ACP;
    needed = MultiByteToWideChar(page, 0, value.bytes.data(), length, nullptr, 0);
  }
  if (needed <= 0) return Text();
  std::wstring wide(static_cast<std::size_t>(needed), L'\0');
  MultiByteToWideChar(page, 0, value.bytes.data(), length, wide.data(), needed);
  return win::fromWide(wide.c_str());
}

// The summary of an open storage; throws when its stream reads short.
ReportSummary readSummary(IStorage* storage) {
  ComPtr<IStream> stream;
  HRESULT hr = storage->OpenStream(kSummaryStream, nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, 0, stream.put());
  if (hr == STG_E_FILENOTFOUND) return ReportSummary();
  check(hr);
  ULONGLONG size = streamSize(stream.get());
  if (size > kLargestSummary) return ReportSummary();
  std::vector<std::uint8_t> bytes(static_cast<std::size_t>(size));
  readExactly(stream.get(), size, bytes.data());

  std::optional<SummaryInformation> info = parseSummaryInformation(bytes);
  if (!info) return ReportSummary();
  ReportSummary summary;
  if (info->title) summary.title = decode(*info->title, info->codePage);
  if (info->comments) summary.comments = decode(*info->comments, info->codePage);
  return summary;
}

ComPtr<IStorage> openStorageFile(const std::wstring& path) {
  ComPtr<IStorage> storage;
  check(StgOpenStorage(path.c_str(), nullptr, STGM_READ | STGM_SHARE_DENY_WRITE, nullptr, 0, storage.put()));
  return storage;
}

// The whole file read into memory and opened there.
ComPtr<IStorage> openStorageSnapshot(const std::wstring& path) {
  FileHandle file(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                              FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file.valid()) throwLastError();
  LARGE_INTEGER size{};
  if (!GetFileSizeEx(file.get(), &size)) throwLastError();
  // The smallest compound file is a header sector and one more.
  if (size.QuadPart < 1024 || size.QuadPart > kLargestSnapshot) throw ComError(kDamaged);

  GlobalMemory memory(static_cast<SIZE_T>(size.QuadPart));
  {
    auto* bytes = static_cast<std::uint8_t*>(GlobalLock(memory.get()));
    if (!bytes) throw std::bad_alloc();
    bool complete = true;
    for (LONGLONG done = 0; done < size.QuadPart && complete;) {
      DWORD got = 0;
      DWORD want = static_cast<DWORD>(std::min<LONGLONG>(size.QuadPart - done, 1 << 20));
      complete = ReadFile(file.get(), bytes + done, want, &got, nullptr) && got == want;
      done += got;
    }
    GlobalUnlock(memory.get());
    if (!complete) throw ComError(kDamaged);
  }

  ComPtr<ILockBytes> lockBytes;
  check(CreateILockBytesOnHGlobal(memory.get(), TRUE, lockBytes.put()));
  memory.release();  // the lock bytes own it now
  // The block may be larger than asked for; the file is exactly its size.
  ULARGE_INTEGER exact;
  exact.QuadPart = static_cast<ULONGLONG>(size.QuadPart);
  check(lockBytes->SetSize(exact));
  ComPtr<IStorage> storage;
  check(StgOpenStorageOnILockBytes(lockBytes.get(), nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, nullptr, 0,
                                   storage.put()));
  return storage;
}

std::wstring fullPath(const std::wstring& path) {
  DWORD needed = GetFullPathNameW(path.c_str(), 0, nullptr, nullptr);
  if (needed == 0) throwLastError();
  std::wstring full(needed, L'\0');
  DWORD written = GetFullPathNameW(path.c_str(), needed, full.data(), nullptr);
  if (written == 0 || written >= needed) throwLastError();
  full.resize(written);
  return full;
}

// A file created beside its target and deleted unless moved into place.
class TemporaryFile {
 public:
  explicit TemporaryFile(const std::wstring& target) {
    std::wstring folder = target.substr(0, target.find_last_of(L"\\/") + 1);
    wchar_t name[MAX_PATH];
    if (!GetTempFileNameW(folder.c_str(), L"rpt", 0, name)) throwLastError();
    path_ = name;
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile() {
    if (!path_.empty()) DeleteFileW(path_.c_str());
  }
  const std::wstring& path() const { return path_; }
  void moveTo(const std::wstring& target) {
    if (!MoveFileExW(path_.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH))
      throwLastError();
    path_.clear();
  }

 private:
  std::wstring path_;
};

// The title as the code page stores it, when every character survives.
bool encodeExactly(const std::wstring& text, UINT codePage, std::string& out) {
  if (text.empty()) return true;
  BOOL lossy = FALSE;
  const int length = static_cast<int>(text.size());
  int needed = WideCharToMultiByte(codePage, WC_NO_BEST_FIT_CHARS, text.data(), length, nullptr, 0, nullptr, &lossy);
  if (needed <= 0 || lossy) return false;
  out.assign(static_cast<std::size_t>(needed), '\0');
  WideCharToMultiByte(codePage, WC_NO_BEST_FIT_CHARS, text.data(), length, out.data(), needed, nullptr, &lossy);
  return !lossy;
}

// Sets the title in a storage's summary, making the summary when there is
// none or it cannot be read. The other summary properties stay as they are.
void writeTitle(IStorage* storage, const Text& title) {
  ComPtr<IPropertySetStorage> sets = ComPtr<IStorage>(storage).query<IPropertySetStorage>(IID_IPropertySetStorage);
  if (!sets) throw ComError(E_NOINTERFACE);
  ComPtr<IPropertyStorage> props;
  HRESULT hr = sets->Open(FMTID_SummaryInformation, STGM_READWRITE | STGM_SHARE_EXCLUSIVE, props.put());
  if (FAILED(hr)) {
    if (hr != STG_E_FILENOTFOUND) storage->DestroyElement(kSummaryStream);
    check(sets->Create(FMTID_SummaryInformation, nullptr, PROPSETFLAG_DEFAULT,
                       STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE, props.put()));
  }

  PROPSPEC spec{};
  spec.ulKind = PRSPEC_PROPID;
  spec.propid = PID_CODEPAGE;
  PROPVARIANT codePageValue;
  PropVariantInit(&codePageValue);
  UINT codePage = kUnicodeCodePage;
  if (SUCCEEDED(props->ReadMultiple(1, &spec, &codePageValue)) && codePageValue.vt == VT_I2)
    codePage = static_cast<std::uint16_t>(codePageValue.iVal);
  PropVariantClear(&codePageValue);

  // An ANSI set keeps an ANSI title when the title fits its code page. The
  // storage converts such strings through the system code page, so that is
  // only exact when the two agree; otherwise the title is stored as Unicode,
  // which every set may hold.
  std::wstring wide = win::toWide(title.substr(0, title.find(u'\0')));
  std::string narrow;
  PROPVARIANT value;
  PropVariantInit(&value);
  if (codePage != kUnicodeCodePage && codePage == GetACP() && encodeExactly(wide, codePage, narrow)) {
    value.vt = VT_LPSTR;
    value.pszVal = narrow.data();
  } else {
    value.vt = VT_LPWSTR;
    value.pwszVal = wide.data();
  }
  spec.propid = PIDSI_TITLE;
  check(props->WriteMultiple(1, &spec, &value, PID_FIRST_USABLE));
  check(props->Commit(STGC_DEFAULT));
}

// The definition stream's bytes; nothing when the storage has none.
std::optional<std::vector<std::uint8_t>> readDefinition(IStorage* storage) {
  ComPtr<IStream> stream;
  HRESULT hr = storage->OpenStream(kDefinitionStream, nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, 0, stream.put());
  if (hr == STG_E_FILENOTFOUND) return std::nullopt;
  check(hr);
  ULONGLONG size = streamSize(stream.get());
  if (size > kLargestDefinition) throw ComError(kDamaged);
  std::vector<std::uint8_t> bytes(static_cast<std::size_t>(size));
  readExactly(stream.get(), size, bytes.data());
  return bytes;
}

void writeDefinition(IStorage* storage, const std::vector<std::uint8_t>& bytes) {
  HRESULT hr = storage->DestroyElement(kDefinitionStream);
  if (FAILED(hr) && hr != STG_E_FILENOTFOUND) check(hr);
  ComPtr<IStream> stream;
  check(storage->CreateStream(kDefinitionStream, STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE, 0, 0,
                              stream.put()));
  for (std::size_t done = 0; done < bytes.size();) {
    ULONG want = static_cast<ULONG>(std::min<std::size_t>(bytes.size() - done, kCopyChunk));
    ULONG written = 0;
    check(stream->Write(bytes.data() + done, want, &written));
    if (written != want) throw ComError(STG_E_WRITEFAULT);
    done += written;
  }
  check(stream->Commit(STGC_DEFAULT));
}

// Writes a new compound file at `target` through a temporary file beside
// it; `fill` puts the content into the new storage.
template <class Fill>
void writeReportFile(const std::wstring& target, Fill fill) {
  TemporaryFile temporary(target);
  {
    ComPtr<IStorage> copy;
    check(StgCreateDocfile(temporary.path().c_str(), STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE, 0,
                           copy.put()));
    fill(copy.get());
    check(copy->Commit(STGC_DEFAULT));
  }
  temporary.moveTo(target);
}

class CompoundReportFile final : public ReportFile {
 public:
  CompoundReportFile(std::wstring path, ComPtr<IStorage> snapshot, ReportSummary summary)
      : path_(std::move(path)), snapshot_(std::move(snapshot)), summary_(std::move(summary)) {}

  const ReportSummary& summary() const override { return summary_; }

  std::optional<std::vector<std::uint8_t>> definition() override {
    ComPtr<IStorage> source = snapshot_ ? snapshot_ : openStorageFile(path_);
    return readDefinition(source.get());
  }

  void writeCopy(const Text& path, const ReportChanges& changes) override {
    const std::wstring target = fullPath(win::toWide(path));
    ComPtr<IStorage> source = snapshot_ ? snapshot_ : openStorageFile(path_);
    requireReadable(source.get(), 0);
    TemporaryFile temporary(target);
    {
      ComPtr<IStorage> copy;
      check(StgCreateDocfile(temporary.path().c_str(), STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE, 0,
                             copy.put()));
      check(source->CopyTo(0, nullptr, nullptr, copy.get()));
      writeTitle(copy.get(), changes.title);
      if (changes.definition) writeDefinition(copy.get(), *changes.definition);
      check(copy->Commit(STGC_DEFAULT));
    }
    source.reset();  // the target may be the source itself
    temporary.moveTo(target);
  }

 private:
  std::wstring path_;
  ComPtr<IStorage> snapshot_;  // set for ByTemporaryCopy
  ReportSummary summary_;
};

}  // namespace

void CompoundReportFiles::create(const Text& path, const ReportChanges& changes) {
  writeReportFile(fullPath(win::toWide(path)), [&](IStorage* storage) {
    writeTitle(storage, changes.title);
    if (changes.definition) writeDefinition(storage, *changes.definition);
  });
}

std::unique_ptr<ReportFile> CompoundReportFiles::open(const Text& path, OpenMethod method) {
  try {
    std::wstring file = win::toWide(path);
    ComPtr<IStorage> storage =
        method == OpenMethod::ByTemporaryCopy ? openStorageSnapshot(file) : openStorageFile(file);
    ReportSummary summary = readSummary(storage.get());
    if (method != OpenMethod::ByTemporaryCopy) storage.reset();
    return std::make_unique<CompoundReportFile>(std::move(file), std::move(storage), std::move(summary));
  } catch (const ComError&) {
    return nullptr;
  }
}

}  // namespace mervane::engine
