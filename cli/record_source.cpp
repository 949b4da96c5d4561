#include "record_source.hpp"

#include <algorithm>
#include <cstring>

namespace vqs {
namespace {

std::string encoded(Session& session, uint32_t encoding, std::u32string_view text) {
  if (encoding == ENC_WIDE)
    return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(char32_t)};
  VQNls* nls = session.nls();
  VQTranscoder* encoder = nls->nlsCreateTranscoder(nls, ENC_WIDE, encoding, 0, 0);
  if (!encoder) throw UsageFailure("the encoding cannot be used for lines");
  std::string bytes(64, '\0');
  uint64_t written = 0;
  VQStatus status = encoder->transcoderConvert(encoder, text.data(), text.size() * sizeof(char32_t),
                                               bytes.data(), bytes.size(), &written, 0);
  encoder->transcoderDestroy(encoder);
  bytes.resize(status ? 0 : written);
  return bytes;
}

// One character as it stands amid a text: what a second one adds, without mark or shift of the beginning.
std::string encodedInside(Session& session, uint32_t encoding, char32_t character) {
  const std::u32string two(2, character);
  const std::string once = encoded(session, encoding, std::u32string_view(two).substr(0, 1));
  const std::string twice = encoded(session, encoding, two);
  return twice.substr(std::min(once.size(), twice.size()));
}

uint32_t numberOf(const char* name) {
  const VQHostEncoding* encoding = vqhostFindEncoding(name);
  return encoding ? encoding->number : 0;
}

size_t findSeparator(std::string_view bytes, std::string_view separator) {
  if (separator.size() == 1) return bytes.find(separator[0]);
  for (size_t at = 0; at + separator.size() <= bytes.size(); at += separator.size())
    if (std::memcmp(bytes.data() + at, separator.data(), separator.size()) == 0) return at;
  return std::string_view::npos;
}

}  // namespace

RecordFormat recordFormat(Session& session, uint32_t encoding, bool isNulSeparated) {
  const bool isUtf16 = encoding == numberOf("UTF-16");
  const bool hasEitherOrder = isUtf16 || encoding == numberOf("UTF-32");
  if (hasEitherOrder) encoding = numberOf(isUtf16 ? "UTF-16BE" : "UTF-32BE");
  RecordFormat format;
  format.encoding = encoding;
  if (encoding != ENC_UTF8) {
    format.separator = encodedInside(session, encoding, isNulSeparated ? U'\0' : U'\n');
    format.carriageReturn = encodedInside(session, encoding, U'\r');
    if (format.separator.empty()) throw UsageFailure("the encoding has no newline to end a line with");
  } else if (isNulSeparated) {
    format.separator.assign(1, '\0');
  }
  if (isNulSeparated) format.carriageReturn.clear();
  // A mark that the encoding cannot hold comes back empty, or as one unit of a substitute; only the Unicode
  // forms have three bytes or the width of their unit.
  if (encoding == ENC_UTF8) format.byteOrderMark = "\xef\xbb\xbf";
  if (format.separator.size() > 1) format.byteOrderMark = encodedInside(session, encoding, U'\ufeff');
  if (hasEitherOrder) format.foreignMark.assign(format.byteOrderMark.rbegin(), format.byteOrderMark.rend());
  return format;
}

namespace {

template <class Unit>
uint64_t countUnits(std::string_view bytes, const std::string& wanted) {
  Unit unit, sought;
  std::memcpy(&sought, wanted.data(), sizeof sought);
  uint64_t count = 0;
  for (size_t at = 0; at + sizeof unit <= bytes.size(); at += sizeof unit) {
    std::memcpy(&unit, bytes.data() + at, sizeof unit);
    count += unit == sought;
  }
  return count;
}

}  // namespace

uint64_t countSeparators(std::string_view bytes, const RecordFormat& format) {
  switch (format.separator.size()) {
    case 1:
      return countUnits<char>(bytes, format.separator);
    case 2:
      return countUnits<uint16_t>(bytes, format.separator);
    default:
      return countUnits<uint32_t>(bytes, format.separator);
  }
}

RecordSource::RecordSource(std::vector<std::string> files, RecordFormat format)
    : files_(std::move(files)), format_(std::move(format)) {
  if (files_.empty()) files_.push_back("-");
}

bool RecordSource::openNext() {
  if (nextFile_ == files_.size()) return false;
  file_.emplace(files_[nextFile_++]);
  isLive_ = file_->isLive();
  line_ = 1;
  offset_ = 0;
  isTurned_ = false;
  carry_.clear();
  return true;
}

// Reverses the bytes of every whole unit.
void RecordSource::turnUnits(std::string& bytes, size_t from, size_t end) const {
  const size_t width = format_.separator.size();
  for (size_t at = from; at + width <= end; at += width)
    std::reverse(bytes.begin() + static_cast<ptrdiff_t>(at),
                 bytes.begin() + static_cast<ptrdiff_t>(at + width));
}

// Reads behind `end`: a regular file until `bytes` is full, a live source as much as there is.
size_t RecordSource::readInto(std::string& bytes, size_t end, bool& isAtEnd) {
  while (end < bytes.size()) {
    const size_t count = file_->read(bytes.data() + end, bytes.size() - end);
    isAtEnd = count == 0;
    end += count;
    if (isAtEnd || isLive_) break;
  }
  return end;
}

// The end of the last separator that begins at `from` or behind; 0 when there is none. `from` is aligned.
size_t RecordSource::endOfLastRecord(std::string_view bytes, size_t from) const {
  const size_t width = format_.separator.size();
  if (width == 1) {
    const void* last = memrchr(bytes.data() + from, format_.separator[0], bytes.size() - from);
    return last ? static_cast<size_t>(static_cast<const char*>(last) - bytes.data()) + 1 : 0;
  }
  for (size_t end = bytes.size() / width * width; end >= from + width; end -= width)
    if (std::memcmp(bytes.data() + end - width, format_.separator.data(), width) == 0) return end;
  return 0;
}

bool RecordSource::next(RecordBlock& block) {
  while (true) {
    if (!file_ && !openNext()) return false;
    block.fileIndex = nextFile_ - 1;
    block.firstLine = line_;
    const size_t width = format_.separator.size();
    size_t end = carry_.size();
    size_t turned = end / width * width;
    size_t searched = 0;
    size_t recordsEnd = 0;
    block.bytes.resize(std::max(blockBytes, 2 * end));
    std::memcpy(block.bytes.data(), carry_.data(), end);
    bool isAtEnd = false;
    while (recordsEnd == 0) {
      // A record longer than the block: the block grows, and only what is new is searched.
      if (end == block.bytes.size()) block.bytes.resize(2 * end);
      end = readInto(block.bytes, end, isAtEnd);
      if (offset_ == 0 && turned == 0 && !format_.foreignMark.empty())
        isTurned_ = block.bytes.starts_with(format_.foreignMark);
      if (isTurned_) turnUnits(block.bytes, turned, end);
      turned = end / width * width;
      if (isAtEnd) {
        recordsEnd = end;
        break;
      }
      recordsEnd = endOfLastRecord(std::string_view(block.bytes.data(), end), searched);
      searched = end / width * width;
    }
    carry_.assign(block.bytes, recordsEnd, end - recordsEnd);
    block.bytes.resize(recordsEnd);
    block.offset = offset_;
    line_ += countSeparators(block.bytes, format_);
    offset_ += recordsEnd;
    const bool isFirst = block.offset == 0;
    if (isAtEnd) file_.reset();
    if (isFirst && !format_.byteOrderMark.empty() && block.bytes.starts_with(format_.byteOrderMark)) {
      block.bytes.erase(0, format_.byteOrderMark.size());
      block.offset = format_.byteOrderMark.size();
    }
    if (!block.bytes.empty()) return true;
  }
}

bool RecordWalk::next(Record& record) {
  if (rest_.empty()) return false;
  const size_t width = format_.separator.size();
  const size_t at = findSeparator(rest_, format_.separator);
  const bool isLast = at == std::string_view::npos;
  std::string_view bytes = isLast ? rest_ : rest_.substr(0, at);
  const size_t consumed = isLast ? rest_.size() : at + width;
  record.line = line_;
  record.offset = offset_;
  if (!isLast && !format_.carriageReturn.empty() && bytes.ends_with(format_.carriageReturn))
    bytes.remove_suffix(format_.carriageReturn.size());
  record.bytes = bytes;
  rest_.remove_prefix(consumed);
  offset_ += consumed;
  ++line_;
  return true;
}

}  // namespace vqs
