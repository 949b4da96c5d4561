// The table of encodings. The numbers of UTF-8 and wide text are the library's; all others are this host's
// and never change, since texts are stored under them. ICU's names choose one converter where several tables
// go by the usual name.
#include "host/encodings.hpp"

#include <unicode/ucnv.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <string>

namespace vq::host {

namespace {

struct Row {
  uint32_t number;
  uint32_t encodingClass;
  const char* name;
  const char* icuName;
  const char* aliases[4];
};

constexpr Row rows[] = {
    // Unicode and its root.
    {1, 0, "US-ASCII", "US-ASCII", {"ASCII", "ANSI_X3.4-1968"}},
    {20, 1, "UTF-8", "UTF-8", {"UTF8"}},
    {21, 2, "UTF-16BE", "UTF-16BE", {}},
    {22, 2, "UTF-16LE", "UTF-16LE", {}},
    {23, 2, "UTF-32BE", "UTF-32BE", {}},
    {24, 2, "UTF-32LE", "UTF-32LE", {}},
    {25, 2, "UTF-7", "UTF-7", {}},
    {26, 1, "CESU-8", "CESU-8", {}},
    {27, 2, "wide", nullptr, {"WCHAR_T"}},
    // With a byte order mark, read in either order and written in the machine's.
    {28, 2, "UTF-16", "UTF-16", {}},
    {29, 2, "UTF-32", "UTF-32", {}},
    // ISO 8859.
    {31, 0, "ISO-8859-1", "ISO-8859-1", {"Latin-1", "L1"}},
    {32, 0, "ISO-8859-2", "ISO-8859-2", {"Latin-2", "L2"}},
    {33, 0, "ISO-8859-3", "ISO-8859-3", {"Latin-3"}},
    {34, 0, "ISO-8859-4", "ISO-8859-4", {"Latin-4"}},
    {35, 0, "ISO-8859-5", "ISO-8859-5", {"Cyrillic"}},
    {36, 0, "ISO-8859-6", "ISO-8859-6", {"Arabic"}},
    {37, 0, "ISO-8859-7", "ISO-8859-7", {"Greek"}},
    {38, 0, "ISO-8859-8", "ISO-8859-8", {"Hebrew"}},
    {39, 0, "ISO-8859-9", "ISO-8859-9", {"Latin-5"}},
    {40, 0, "ISO-8859-10", "iso-8859_10-1998", {"Latin-6"}},
    {41, 0, "ISO-8859-11", "iso-8859_11-2001", {"Thai"}},
    {43, 0, "ISO-8859-13", "ISO-8859-13", {"Latin-7"}},
    {44, 0, "ISO-8859-14", "iso-8859_14-1998", {"Latin-8"}},
    {45, 0, "ISO-8859-15", "ISO-8859-15", {"Latin-9"}},
    // Windows.
    {50, 0, "windows-1250", "windows-1250", {"CP1250"}},
    {51, 0, "windows-1251", "windows-1251", {"CP1251"}},
    {52, 0, "windows-1252", "windows-1252", {"CP1252"}},
    {53, 0, "windows-1253", "windows-1253", {"CP1253"}},
    {54, 0, "windows-1254", "windows-1254", {"CP1254"}},
    {55, 0, "windows-1255", "windows-1255", {"CP1255"}},
    {56, 0, "windows-1256", "windows-1256", {"CP1256"}},
    {57, 0, "windows-1257", "windows-1257", {"CP1257"}},
    {58, 0, "windows-1258", "windows-1258", {"CP1258"}},
    {59, 0, "windows-874", "windows-874", {"CP874", "TIS-620"}},
    // KOI8 and Macintosh.
    {60, 0, "KOI8-R", "KOI8-R", {}},
    {61, 0, "KOI8-U", "KOI8-U", {}},
    {63, 0, "macintosh", "macintosh", {"MacRoman"}},
    {64, 0, "x-mac-cyrillic", "x-mac-cyrillic", {"MacCyrillic"}},
    {65, 0, "x-mac-greek", "x-mac-greek", {"MacGreek"}},
    {66, 0, "x-mac-turkish", "x-mac-turkish", {"MacTurkish"}},
    {67, 0, "x-mac-centraleurroman", "x-mac-centraleurroman", {"MacCentralEurope"}},
    // PC code pages.
    {70, 0, "IBM437", "ibm-437", {"CP437"}},
    {71, 0, "IBM850", "ibm-850", {"CP850"}},
    {72, 0, "IBM852", "ibm-852", {"CP852"}},
    {73, 0, "IBM855", "ibm-855", {"CP855"}},
    {74, 0, "IBM857", "ibm-857", {"CP857"}},
    {75, 0, "IBM00858", "ibm-858", {"CP858"}},
    {76, 0, "IBM862", "ibm-862", {"CP862"}},
    {77, 0, "IBM866", "ibm-866", {"CP866"}},
    // EBCDIC, single byte.
    {80, 0, "IBM037", "ibm-37", {"CP037"}},
    {81, 0, "IBM273", "ibm-273", {"CP273"}},
    {82, 0, "IBM277", "ibm-277", {"CP277"}},
    {83, 0, "IBM278", "ibm-278", {"CP278"}},
    {84, 0, "IBM280", "ibm-280", {"CP280"}},
    {85, 0, "IBM284", "ibm-284", {"CP284"}},
    {86, 0, "IBM285", "ibm-285", {"CP285"}},
    {87, 0, "IBM297", "ibm-297", {"CP297"}},
    {88, 0, "IBM420", "ibm-420", {"CP420"}},
    {89, 0, "IBM424", "ibm-424", {"CP424"}},
    {90, 0, "IBM500", "ibm-500", {"CP500"}},
    {91, 0, "IBM870", "ibm-870", {"CP870"}},
    {92, 0, "IBM871", "ibm-871", {"CP871"}},
    {93, 0, "IBM875", "ibm-875", {"CP875"}},
    {94, 0, "IBM1025", "ibm-1025", {"CP1025"}},
    {95, 0, "IBM1026", "ibm-1026", {"CP1026"}},
    {96, 0, "IBM1047", "ibm-1047", {"CP1047"}},
    {97, 0, "IBM01140", "ibm-1140", {"CP1140"}},
    {98, 0, "IBM01141", "ibm-1141", {"CP1141"}},
    {99, 0, "IBM01142", "ibm-1142", {"CP1142"}},
    {100, 0, "IBM01143", "ibm-1143", {"CP1143"}},
    {101, 0, "IBM01144", "ibm-1144", {"CP1144"}},
    {102, 0, "IBM01145", "ibm-1145", {"CP1145"}},
    {103, 0, "IBM01146", "ibm-1146", {"CP1146"}},
    {104, 0, "IBM01147", "ibm-1147", {"CP1147"}},
    {105, 0, "IBM01148", "ibm-1148", {"CP1148"}},
    {106, 0, "IBM01149", "ibm-1149", {"CP1149"}},
    // East Asian.
    {110, 1, "Shift_JIS", "Shift_JIS", {"SJIS", "windows-31j", "CP932"}},
    {111, 1, "EUC-JP", "EUC-JP", {"ujis"}},
    {112, 2, "ISO-2022-JP", "ISO-2022-JP", {}},
    {113, 1, "EUC-KR", "EUC-KR", {}},
    {114, 1, "windows-949", "windows-949", {"CP949", "UHC"}},
    {115, 2, "ISO-2022-KR", "ISO-2022-KR", {}},
    {116, 1, "GB2312", "GB2312", {"EUC-CN"}},
    {117, 1, "GBK", "GBK", {"CP936", "windows-936"}},
    {118, 1, "GB18030", "GB18030", {}},
    {119, 1, "Big5", "Big5", {"CP950", "windows-950"}},
    {120, 1, "Big5-HKSCS", "Big5-HKSCS", {}},
    {121, 1, "EUC-TW", "EUC-TW", {}},
    // EBCDIC with shifts between one and two bytes.
    {122, 2, "IBM930", "ibm-930", {"CP930"}},
    {123, 2, "IBM939", "ibm-939", {"CP939"}},
    {124, 2, "IBM933", "ibm-933", {"CP933"}},
    {125, 2, "IBM935", "ibm-935", {"CP935"}},
    {126, 2, "IBM937", "ibm-937", {"CP937"}},
};
constexpr size_t rowCount = std::size(rows);

static_assert(std::is_sorted(std::begin(rows), std::end(rows),
                             [](const Row& a, const Row& b) { return a.number < b.number; }));
static_assert(rows[rowCount - 1].number < encodingLimit);

struct Records {
  std::array<VQHostEncoding, rowCount> encodings{};
  std::array<VQEncodingInfo, rowCount> infos{};
  std::array<uint8_t, encodingLimit> indexByNumber{};
  static constexpr uint8_t none = 0xFF;

  constexpr Records() {
    indexByNumber.fill(none);
    for (size_t i = 0; i < rowCount; ++i) {
      const Row& row = rows[i];
      encodings[i] = {row.number, row.encodingClass, row.name, row.icuName, row.aliases};
      infos[i] = {row.number, row.encodingClass};
      indexByNumber[row.number] = static_cast<uint8_t>(i);
    }
  }
};
constexpr Records records;

// What is left of a name when case and the separators '-', '_' and ' ' do not count.
std::string bareName(const char* name) {
  std::string bare;
  for (; *name != 0; ++name) {
    const char c = *name;
    if (c == '-' || c == '_' || c == ' ') continue;
    bare += c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
  }
  return bare;
}

bool bearsName(const VQHostEncoding& encoding, const std::string& bare) {
  if (bareName(encoding.name) == bare) return true;
  if (encoding.icuName != nullptr && bareName(encoding.icuName) == bare) return true;
  for (const char* const* alias = encoding.aliases; *alias != nullptr; ++alias) {
    if (bareName(*alias) == bare) return true;
  }
  return false;
}

// The name that ICU files a converter under, whichever of its names is given; null when it has none.
const char* canonicalName(const char* name) {
  UErrorCode error = U_ZERO_ERROR;
  const char* canonical = ucnv_getAlias(name, 0, &error);
  return U_SUCCESS(error) ? canonical : nullptr;
}

}  // namespace

const VQHostEncoding* encodingOf(uint32_t encoding) noexcept {
  if (encoding >= encodingLimit) return nullptr;
  const uint8_t index = records.indexByNumber[encoding];
  return index == Records::none ? nullptr : &records.encodings[index];
}

const VQEncodingInfo* encodingInfoOf(uint32_t encoding) noexcept {
  const VQHostEncoding* found = encodingOf(encoding);
  return found == nullptr ? nullptr : &records.infos[static_cast<size_t>(found - records.encodings.data())];
}

}  // namespace vq::host

uint32_t vqhostEncodingCount(void) {
  return static_cast<uint32_t>(vq::host::rowCount);
}

const VQHostEncoding* vqhostEncodingAt(uint32_t index) {
  return index < vq::host::rowCount ? &vq::host::records.encodings[index] : nullptr;
}

const VQHostEncoding* vqhostEncodingByNumber(uint32_t number) {
  return vq::host::encodingOf(number);
}

const VQHostEncoding* vqhostFindEncoding(const char* name) {
  try {
    const std::string bare = vq::host::bareName(name);
    for (const VQHostEncoding& encoding : vq::host::records.encodings) {
      if (vq::host::bearsName(encoding, bare)) return &encoding;
    }
    const char* canonical = vq::host::canonicalName(name);
    if (canonical == nullptr) return nullptr;
    for (const VQHostEncoding& encoding : vq::host::records.encodings) {
      if (encoding.icuName == nullptr) continue;
      const char* ours = vq::host::canonicalName(encoding.icuName);
      if (ours != nullptr && std::string_view(ours) == canonical) return &encoding;
    }
  } catch (...) {
  }
  return nullptr;
}
