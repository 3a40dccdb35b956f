// The export worker, its writers by format, and its progress window.
#include "authoring/viewer/win/export_job.h"

#include <commctrl.h>

#include <filesystem>
#include <fstream>

#include "base/win/com.h"
#include "base/win/form.h"
#include "engine/export/csv_writer.h"
#include "engine/export/html_writer.h"
#include "engine/export/pdf_writer.h"
#include "engine/export/xlsx_writer.h"
#include "engine/win/gdi_font_source.h"

namespace mervane::viewer::win {

namespace {

constexpr UINT kUpdate = WM_APP + 30;
constexpr UINT kShowTimer = 1;
constexpr UINT kShowAfterMs = 400;
constexpr int kText = 100;
constexpr int kBar = 101;

// Client area 4800 x 1380 twips: what is being done, a bar, Cancel.
const mervane::win::ControlLayout kProgressLayout[] = {
    {WC_STATICW, L"Starting the export\x2026", kText, 240, 180, 4320, 225, SS_LEFT | SS_NOPREFIX},
    {PROGRESS_CLASSW, L"", kBar, 240, 480, 4320, 210, 0},
    {WC_BUTTONW, L"Cancel", IDCANCEL, 1912, 870, 975, 345, WS_TABSTOP | BS_DEFPUSHBUTTON},
};

// Enter and Esc on the Cancel button press it: the window has no dialog
// loop of its own.
LRESULT CALLBACK cancelKeys(HWND button, UINT message, WPARAM wParam, LPARAM lParam, UINT_PTR, DWORD_PTR) {
  if (message == WM_GETDLGCODE) return DLGC_WANTALLKEYS | DefSubclassProc(button, message, wParam, lParam);
  if (message == WM_KEYDOWN && (wParam == VK_ESCAPE || wParam == VK_RETURN)) {
    SendMessageW(GetParent(button), WM_COMMAND, MAKEWPARAM(IDCANCEL, BN_CLICKED), reinterpret_cast<LPARAM>(button));
    return 0;
  }
  return DefSubclassProc(button, message, wParam, lParam);
}

}  // namespace

class ExportJob::Progress final : public mervane::win::Form {
 public:
  Progress(ExportJob& job, HWND owner) : Form(L"Exporting", 4800, 1380), job_(job), owner_(owner) {
    keepDialogFocus(IDCANCEL, IDCANCEL);
  }
  void start() {
    load();
    if (!hwnd()) return;
    if (owner_) {  // owned by the window it was started from, and centred over it
      SetWindowLongPtrW(hwnd(), GWLP_HWNDPARENT, reinterpret_cast<LONG_PTR>(owner_));
      RECT o, f;
      GetWindowRect(owner_, &o);
      GetWindowRect(hwnd(), &f);
      SetWindowPos(hwnd(), nullptr, (o.left + o.right - (f.right - f.left)) / 2,
                   (o.top + o.bottom - (f.bottom - f.top)) / 2, 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
    }
    SetTimer(hwnd(), kShowTimer, kShowAfterMs, nullptr);
  }

 protected:
  void onLoad() override {
    addControls(kProgressLayout);
    if (HWND cancel = control(IDCANCEL)) SetWindowSubclass(cancel, cancelKeys, 1, 0);
  }
  void onCommand(int id, int code) override {
    if (id == IDCANCEL && code == BN_CLICKED) stop();
  }
  void onCloseRequest() override { stop(); }
  LRESULT onMessage(UINT message, WPARAM wParam, LPARAM lParam) override {
    if (message == WM_TIMER && wParam == kShowTimer) {
      KillTimer(hwnd(), kShowTimer);
      if (!job_.finished()) {
        update();
        ShowWindow(hwnd(), SW_SHOWNORMAL);
        if (HWND cancel = control(IDCANCEL)) SetFocus(cancel);
      }
      return 0;
    }
    if (message == kUpdate) {
      if (job_.finished()) {
        hide();
      } else if (visible()) {
        update();
      }
      return 0;
    }
    return Form::onMessage(message, wParam, lParam);
  }

 private:
  void stop() {
    job_.cancel();
    setText(kText, L"Cancelling\x2026");
    EnableWindow(control(IDCANCEL), FALSE);
  }
  void update() {
    if (job_.cancelled()) return;
    const std::int64_t done = job_.done();
    std::wstring text;
    if (std::int32_t counted = job_.counting()) {
      text = L"Counting pages (" + std::to_wstring(counted) + L" so far)\x2026";
    } else if (job_.request_.format == ExportFormat::ExcelData) {
      text = L"Exporting: " + std::to_wstring(done) + L" records\x2026";
    } else {
      text = L"Exporting page " + std::to_wstring(done);
      const ExportPages& pages = job_.request_.pages;
      std::int32_t last = pages.last;
      if (last == 0)
        if (auto count = job_.sources_.run ? job_.sources_.run->pageCount() : std::nullopt) last = *count;
      if (last > 0) {
        const std::int32_t of = last - pages.first + 1;
        text += L" of " + std::to_wstring(of);
        SendMessageW(control(kBar), PBM_SETRANGE32, 0, of);
        SendMessageW(control(kBar), PBM_SETPOS, static_cast<WPARAM>(done), 0);
      }
    }
    setText(kText, text);
  }

  ExportJob& job_;
  HWND owner_;
};

ExportJob::ExportJob(HWND owner, ExportRequest request, ExportSources sources, HWND notify, UINT message)
    : request_(std::move(request)), sources_(std::move(sources)), notify_(notify), message_(message) {
  progress_ = std::make_unique<Progress>(*this, owner);
  progress_->start();
  worker_ = std::thread([this] { run(); });
}

ExportJob::~ExportJob() {
  cancelled_ = true;  // a feed waiting for the count asks every tenth of a second
  if (worker_.joinable()) worker_.join();
  progress_.reset();
}

HWND ExportJob::progressWindow() const { return progress_ ? progress_->hwnd() : nullptr; }

void ExportJob::run() {
  namespace exporting = engine::exporting;
  auto tell = [this] {
    if (HWND window = progressWindow()) PostMessageW(window, kUpdate, 0, 0);
    if (notify_) PostMessageW(notify_, message_, 0, 0);
  };
  const std::filesystem::path target(request_.path);
  std::wstring folder = target.parent_path().wstring();
  if (folder.empty()) folder = L".";
  wchar_t temp[MAX_PATH] = {};
  bool ok = false;
  if (GetTempFileNameW(folder.c_str(), L"mvx", 0, temp)) {
    try {
      bool complete = false;
      {
        std::ofstream out(std::filesystem::path(temp), std::ios::binary | std::ios::trunc);
        auto pageDone = [this, &tell](std::int32_t n) {
          counting_ = 0;
          done_ = n;
          tell();
          return !cancelled_.load();
        };
        if (!out) {
          complete = false;
        } else if (request_.format == ExportFormat::ExcelData) {
          exporting::XlsxOptions options;
          options.title = sources_.title;
          complete = sources_.document && sources_.data &&
                     exporting::writeXlsxData(*sources_.document, *sources_.data, out,
                                              [this, &tell](std::int64_t n) {
                                                done_ = n;
                                                tell();
                                                return !cancelled_.load();
                                              },
                                              options);
        } else if (sources_.run) {
          // Pages showing the page total wait for the count, so the file
          // never holds a total that was still growing.
          auto feed = exporting::pagesBetween(
              exporting::finalPagesOf(sources_.run, [this] { return cancelled_.load(); },
                                      [this, &tell](std::int32_t known) {
                                        counting_ = known;
                                        tell();
                                      }),
              request_.pages.first, request_.pages.last);
          switch (request_.format) {
            case ExportFormat::Csv: complete = exporting::writeCsv(feed, out, pageDone); break;
            case ExportFormat::ExcelAsPrinted: {
              exporting::XlsxOptions options;
              options.title = sources_.title;
              complete = exporting::writeXlsxAsPrinted(feed, out, pageDone, options);
              break;
            }
            case ExportFormat::Pdf: {
              exporting::PdfOptions options;
              options.fonts = std::make_shared<engine::win::GdiFontSource>();
              options.title = sources_.title;
              options.subject = sources_.subject;
              complete = exporting::writePdf(feed, out, pageDone, options);
              break;
            }
            case ExportFormat::Html: {
              exporting::HtmlOptions options;
              options.title = sources_.title;
              complete = exporting::writeHtml(feed, out, pageDone, options);
              break;
            }
            case ExportFormat::ExcelData: break;
          }
        }
        out.close();
        complete = complete && !out.fail();
      }
      ok = complete && !cancelled_ &&
           MoveFileExW(temp, target.wstring().c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH);
    } catch (...) {
      ok = false;
    }
    if (!ok) DeleteFileW(temp);
  }
  succeeded_ = ok;
  finished_ = true;
  tell();
}

}  // namespace mervane::viewer::win
