// A host of one window: shows a picture one to one with panning, or stretched, and runs every
// operation from its menu.
#include <rastelo.h>

#include <commdlg.h>
#include <shellapi.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <string>
#include <vector>

#include "commands.h"
#include "histogram_corner.h"
#include "trace_pane.h"

namespace {

constexpr int kTraceWidth = 260;
constexpr UINT kFirstCommand = 1000;
enum FileCommand : UINT { kOpen = 100, kSave, kSaveVisible, kClose, kExit };
enum ViewCommand : UINT { kStretched = 200, kMap, kHistogram, kTrace };

struct Viewer {
  HWND window = nullptr, trace = nullptr;
  HMENU menu = nullptr;
  Document document;
  bool stretched = false, showsMap = false, showsHistogram = true, showsTrace = true;
  POINT pan = {};        // where the shown part is to lie, from the middle, right and up
  POINT drawnPan = {};   // what the object keeps of it since the last draw
  POINT dragStart = {};  // where the button went down, less the pan of that moment
};
Viewer g_viewer;

RECT PictureArea() {
  RECT area = {};
  GetClientRect(g_viewer.window, &area);
  if (g_viewer.showsTrace) area.right = std::max<LONG>(0, area.right - kTraceWidth);
  return area;
}

/// How far a picture can be panned from its middle: never beyond its border.
LONG HoldPan(LONG pan, LONG pictureSide, LONG areaSide) {
  const LONG most = std::max<LONG>(0, (pictureSide - areaSide) / 2);
  return std::clamp(pan, -most, most);
}

/// The middle of `area`, as large as the picture where that is smaller.
RECT CentreOn(const RECT& area, LONG width, LONG height) {
  const LONG shownWidth = std::min(width, area.right), shownHeight = std::min(height, area.bottom);
  const LONG left = (area.right - shownWidth) / 2, top = (area.bottom - shownHeight) / 2;
  return {left, top, left + shownWidth, top + shownHeight};
}

/// The object keeps the absolute value of a pan, so each draw brings the difference to the one
/// that is wanted.
void DrawOneToOne(HDC hdc, const RECT& area) {
  CRastelo& image = g_viewer.document.image;
  RECT target = CentreOn(area, image.GetWidth(), image.GetHeight());
  g_viewer.pan.x = HoldPan(g_viewer.pan.x, image.GetWidth(), area.right);
  g_viewer.pan.y = HoldPan(g_viewer.pan.y, image.GetHeight(), area.bottom);
  image.DrawImage(hdc, &target, static_cast<int>(g_viewer.pan.x - g_viewer.drawnPan.x),
                  static_cast<int>(g_viewer.pan.y - g_viewer.drawnPan.y), nullptr);
  g_viewer.drawnPan = {std::abs(g_viewer.pan.x), std::abs(g_viewer.pan.y)};
}

void DrawStretched(HDC hdc, const RECT& area) {
  CRastelo& image = g_viewer.document.image;
  const double scale = std::min(static_cast<double>(area.right) / image.GetWidth(),
                                static_cast<double>(area.bottom) / image.GetHeight());
  const LONG width = std::max<LONG>(1, static_cast<LONG>(image.GetWidth() * scale));
  const LONG height = std::max<LONG>(1, static_cast<LONG>(image.GetHeight() * scale));
  RECT target = CentreOn(area, width, height);
  SetStretchBltMode(hdc, COLORONCOLOR);
  image.DrawImage(hdc, &target, true);
}

/// The map of the last frequency operation, if it is of the picture's size.
void DrawMap(HDC hdc, const RECT& area) {
  const LONG width = g_viewer.document.image.GetWidth();
  const LONG height = g_viewer.document.image.GetHeight();
  const auto row = static_cast<std::size_t>(width), pitch = (row + 3) / 4 * 4;
  std::vector<unsigned char> cells(row * static_cast<std::size_t>(height));
  if (cells.empty() || !g_viewer.document.image.GetSpectrum(cells.data())) return;
  std::vector<unsigned char> bits(pitch * static_cast<std::size_t>(height));
  for (std::size_t y = 0; y < static_cast<std::size_t>(height); ++y)
    std::copy_n(cells.data() + y * row, row, bits.data() + y * pitch);
  CRastelo map;
  map.SetExternalImageBits(bits.data(), width, height, 8);
  RECT target = CentreOn(area, width, height);
  map.DrawImage(hdc, &target, false);
}

void DrawPicture(HDC hdc, const RECT& area) {
  FillRect(hdc, &area, static_cast<HBRUSH>(GetStockObject(DKGRAY_BRUSH)));
  CRastelo& image = g_viewer.document.image;
  if (!image.IsOpened() || image.GetWidth() <= 0 || image.GetHeight() <= 0) return;
  if (g_viewer.showsMap)
    DrawMap(hdc, area);
  else if (g_viewer.stretched)
    DrawStretched(hdc, area);
  else
    DrawOneToOne(hdc, area);
  if (g_viewer.showsHistogram) DrawHistogramCorner(hdc, area, image);
}

/// Draws into memory first, so that nothing flickers.
void Paint() {
  PAINTSTRUCT paint;
  const HDC screen = BeginPaint(g_viewer.window, &paint);
  const RECT area = PictureArea();
  const HDC memory = CreateCompatibleDC(screen);
  const HBITMAP surface =
      CreateCompatibleBitmap(screen, std::max<int>(1, area.right), std::max<int>(1, area.bottom));
  const HGDIOBJ before = SelectObject(memory, surface);
  DrawPicture(memory, area);
  BitBlt(screen, 0, 0, area.right, area.bottom, memory, 0, 0, SRCCOPY);
  SelectObject(memory, before);
  DeleteObject(surface);
  DeleteDC(memory);
  EndPaint(g_viewer.window, &paint);
}

void ShowState() {
  const Document& document = g_viewer.document;
  std::string title = "Rastelo viewer";
  if (document.image.IsOpened()) {
    title = document.path.substr(document.path.find_last_of("\\/") + 1) + " - " +
            std::to_string(document.image.GetWidth()) + " x " +
            std::to_string(document.image.GetHeight()) + " x " +
            (document.image.IsCanTrans2Gray() ? "24" : "8") + " bits";
  }
  if (!document.note.empty()) title += " - " + document.note;
  SetWindowTextA(g_viewer.window, title.c_str());
  const auto check = [](UINT command, bool on) {
    CheckMenuItem(g_viewer.menu, command, on ? MF_CHECKED : MF_UNCHECKED);
  };
  check(kStretched, g_viewer.stretched);
  check(kMap, g_viewer.showsMap);
  check(kHistogram, g_viewer.showsHistogram);
  check(kTrace, g_viewer.showsTrace);
  InvalidateRect(g_viewer.window, nullptr, FALSE);
}

void Open(const std::string& path) {
  if (!g_viewer.document.image.OpenImage(path.c_str())) {
    g_viewer.document.note = "cannot open " + path;
    return;
  }
  g_viewer.document.path = path;
  g_viewer.pan = {};
}

/// Asks for a file name; an empty one if the user changes their mind.
std::string AskForFile(bool toSave) {
  char path[MAX_PATH] = "";
  OPENFILENAMEA dialog = {};
  dialog.lStructSize = sizeof dialog;
  dialog.hwndOwner = g_viewer.window;
  dialog.lpstrFilter = "Pictures (*.jpg, *.bmp)\0*.jpg;*.bmp\0";
  dialog.lpstrFile = path;
  dialog.nMaxFile = sizeof path;
  dialog.lpstrDefExt = "jpg";
  dialog.Flags = toSave ? OFN_OVERWRITEPROMPT : OFN_FILEMUSTEXIST;
  return (toSave ? GetSaveFileNameA(&dialog) : GetOpenFileNameA(&dialog)) ? path : "";
}

void Save(bool visible) {
  const std::string path = AskForFile(true);
  if (path.empty()) return;
  CRastelo& image = g_viewer.document.image;
  const int saved = visible ? image.SaveAs_visible_JPG(path.c_str()) : image.SaveAs(path.c_str());
  g_viewer.document.note = (saved ? "saved " : "could not save ") + path;
}

void RunFileCommand(UINT command) {
  switch (command) {
    case kOpen:
      if (const std::string path = AskForFile(false); !path.empty()) Open(path);
      break;
    case kSave:
    case kSaveVisible:
      Save(command == kSaveVisible);
      break;
    case kClose:
      g_viewer.document.image.Close();
      break;
    case kExit:
      DestroyWindow(g_viewer.window);
      break;
  }
}

void PlaceTracePane() {
  RECT area = {};
  GetClientRect(g_viewer.window, &area);
  MoveWindow(g_viewer.trace, area.right - kTraceWidth, 0, kTraceWidth, area.bottom, TRUE);
  ShowWindow(g_viewer.trace, g_viewer.showsTrace ? SW_SHOW : SW_HIDE);
}

void Run(UINT command) {
  g_viewer.document.note.clear();
  const std::vector<Command>& commands = Commands();
  try {
    if (command >= kFirstCommand && command - kFirstCommand < commands.size())
      commands[command - kFirstCommand].run(g_viewer.document);
    else if (command < kStretched)
      RunFileCommand(command);
  } catch (const std::bad_alloc&) {
    g_viewer.document.note = "out of memory";
  }
  if (command == kStretched) g_viewer.stretched = !g_viewer.stretched;
  if (command == kMap) g_viewer.showsMap = !g_viewer.showsMap;
  if (command == kHistogram) g_viewer.showsHistogram = !g_viewer.showsHistogram;
  if (command == kTrace) g_viewer.showsTrace = !g_viewer.showsTrace;
  if (command == kTrace) PlaceTracePane();
  if (IsWindow(g_viewer.window)) ShowState();
}

void Drop(HDROP drop) {
  char path[MAX_PATH];
  if (DragQueryFileA(drop, 0, path, sizeof path)) Open(path);
  DragFinish(drop);
  ShowState();
}

POINT PointOf(LPARAM where) {
  return {static_cast<short>(LOWORD(where)), static_cast<short>(HIWORD(where))};
}

/// The picture follows the mouse: what is shown moves against it, and rows count upwards.
void Drag(LPARAM where) {
  const POINT now = PointOf(where);
  g_viewer.pan = {g_viewer.dragStart.x - now.x, now.y - g_viewer.dragStart.y};
  InvalidateRect(g_viewer.window, nullptr, FALSE);
}

void StartDrag(LPARAM where) {
  const POINT now = PointOf(where);
  g_viewer.dragStart = {now.x + g_viewer.pan.x, now.y - g_viewer.pan.y};
  SetCapture(g_viewer.window);
}

LRESULT CALLBACK Handle(HWND window, UINT message, WPARAM word, LPARAM value) {
  switch (message) {
    case WM_PAINT:
      Paint();
      return 0;
    case WM_ERASEBKGND:
      return 1;
    case WM_SIZE:
      PlaceTracePane();
      InvalidateRect(window, nullptr, FALSE);
      return 0;
    case WM_COMMAND:
      if (value == 0) Run(LOWORD(word));
      return 0;
    case WM_LBUTTONDOWN:
      StartDrag(value);
      return 0;
    case WM_MOUSEMOVE:
      if (GetCapture() == window) Drag(value);
      return 0;
    case WM_LBUTTONUP:
      ReleaseCapture();
      return 0;
    case WM_DROPFILES:
      Drop(reinterpret_cast<HDROP>(word));
      return 0;
    case WM_DESTROY:
      PostQuitMessage(0);
      return 0;
  }
  return DefWindowProcA(window, message, word, value);
}

struct Entry {
  const char* menu;
  const char* text;
  UINT command;
  WORD key;
  BYTE modifiers;
};

std::vector<Entry> AllEntries() {
  std::vector<Entry> entries = {
      {"&File", "&Open...", kOpen, 'O', FCONTROL},
      {"&File", "&Save as...", kSave, 'S', FCONTROL},
      {"&File", "Save what is &visible...", kSaveVisible, 'S', FCONTROL | FSHIFT},
      {"&File", "&Close", kClose, 'W', FCONTROL},
      {"&File", "E&xit", kExit, VK_ESCAPE, 0},
      {"&View", "&Stretched to the window", kStretched, 'S', 0},
      {"&View", "Frequency &map", kMap, 'M', 0},
      {"&View", "&Histogram", kHistogram, 'H', 0},
      {"&View", "&Trace", kTrace, 'T', 0},
  };
  UINT next = kFirstCommand;
  for (const Command& command : Commands())
    entries.push_back({command.menu, command.text, next++, command.key, command.modifiers});
  return entries;
}

std::string KeyName(const Entry& entry) {
  if (entry.key == 0) return "";
  std::string name = entry.modifiers & FCONTROL ? "Ctrl+" : "";
  if (entry.modifiers & FSHIFT) name += "Shift+";
  switch (entry.key) {
    case VK_ESCAPE:
      return name + "Esc";
    case VK_F5:
      return name + "F5";
    case VK_NEXT:
      return name + "PgDn";
    case VK_PRIOR:
      return name + "PgUp";
    default:
      return name + static_cast<char>(entry.key);
  }
}

HMENU MakeMenu(const std::vector<Entry>& entries) {
  const HMENU bar = CreateMenu();
  HMENU popup = nullptr;
  std::string last;
  for (const Entry& entry : entries) {
    if (last != entry.menu) {
      popup = CreatePopupMenu();
      AppendMenuA(bar, MF_POPUP, reinterpret_cast<UINT_PTR>(popup), entry.menu);
      last = entry.menu;
    }
    AppendMenuA(popup, MF_STRING, entry.command, (entry.text + ("\t" + KeyName(entry))).c_str());
  }
  return bar;
}

HACCEL MakeKeys(const std::vector<Entry>& entries) {
  std::vector<ACCEL> keys;
  for (const Entry& entry : entries)
    if (entry.key != 0)
      keys.push_back({static_cast<BYTE>(entry.modifiers | FVIRTKEY), entry.key,
                      static_cast<WORD>(entry.command)});
  return CreateAcceleratorTableA(keys.data(), static_cast<int>(keys.size()));
}

void MakeWindow(HINSTANCE instance, HMENU menu) {
  WNDCLASSA kind = {};
  kind.lpfnWndProc = Handle;
  kind.hInstance = instance;
  kind.hCursor = LoadCursor(nullptr, IDC_ARROW);
  kind.lpszClassName = "RasteloViewer";
  RegisterClassA(&kind);
  g_viewer.menu = menu;
  g_viewer.window = CreateWindowExA(WS_EX_ACCEPTFILES, kind.lpszClassName, "Rastelo viewer",
                                    WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN, CW_USEDEFAULT,
                                    CW_USEDEFAULT, 960, 620, nullptr, menu, instance, nullptr);
  g_viewer.trace = CreateWindowExA(
      WS_EX_CLIENTEDGE, "EDIT", "",
      WS_CHILD | WS_VISIBLE | WS_VSCROLL | ES_MULTILINE | ES_READONLY | ES_AUTOVSCROLL, 0, 0, 0, 0,
      g_viewer.window, nullptr, instance, nullptr);
  SendMessageA(g_viewer.trace, WM_SETFONT,
               reinterpret_cast<WPARAM>(GetStockObject(DEFAULT_GUI_FONT)), TRUE);
  ShowTraceIn(g_viewer.trace);
}

}  // namespace

int WINAPI WinMain(HINSTANCE instance, HINSTANCE, LPSTR, int show) {
  const std::vector<Entry> entries = AllEntries();
  MakeWindow(instance, MakeMenu(entries));
  const HACCEL keys = MakeKeys(entries);
  if (__argc > 1) Open(__argv[1]);
  PlaceTracePane();
  ShowWindow(g_viewer.window, show);
  ShowState();
  MSG message;
  while (GetMessageA(&message, nullptr, 0, 0) > 0) {
    if (TranslateAcceleratorA(g_viewer.window, keys, &message)) continue;
    TranslateMessage(&message);
    DispatchMessageA(&message);
  }
  return 0;
}
