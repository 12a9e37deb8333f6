// Values of registry keys. Input: a name, a text and a number for the values, then the file that they are kept in.
//
// Losses: none for what is written; of a file that another program wrote what profile files lose.
#include <cmath>
#include <cstring>

#include "fuzz/support/Fuzzing.h"
#include "quelplatform/ground/ini/ProfileFile.h"
#include "quelplatform/ground/text/wideNumber.h"
#include "quelplatform/qmEnv/QmRegKey.h"
#include "quelplatform/qmEnv/qmText.h"

namespace {

const qmWChar* const kBranch = u"HKEY_LOCAL_MACHINE\\Software\\Quelmetra\\Measurement";

void requireReadAsText(const QmRegKey& key, const qmWChar* name) {
  const qmWChar* text = key[name];
  quelfuzz::require((text != nullptr) == key.IsValue(name), "a value that is there has a text");
  if (text == nullptr) return;
  const auto number = static_cast<std::uint32_t>(key[name]);
  const qmWString kept(text);
  quelfuzz::require(number == quelplatform::wrappedInteger(kept), "a whole number is that of the text");
  quelfuzz::require(static_cast<bool>(key[name]) == (number != 0), "a flag is a number");
  const double value = key[name];
  if (!std::isfinite(value)) return;  // What was stored as such is spelt so, and no number in front.
  const double expected = quelplatform::decimalNumber(kept);
  quelfuzz::require(value == expected, "a number is that of the text");
}

void requireText(QmRegKey& key, const qmWChar* name, const qmWString& text) {
  key[name] = text.c_str();
  if (key.LastError() != 0) return;
  const qmWChar* read = key[name];
  quelfuzz::require(read != nullptr && text == read, "a text reads back as it was");
}

void requireNumbers(QmRegKey& key, const qmWChar* name, double real, std::uint32_t whole) {
  key[name] = static_cast<std::int32_t>(whole);
  if (key.LastError() != 0) return;
  quelfuzz::require(static_cast<std::int32_t>(key[name]) == static_cast<std::int32_t>(whole), "a whole number stays");
  key[name] = whole;
  quelfuzz::require(static_cast<std::uint32_t>(key[name]) == whole, "a whole number without sign stays");
  key[name] = real;
  const double read = key[name];
  if (std::isfinite(real)) quelfuzz::require(std::memcmp(&read, &real, sizeof real) == 0, "a number keeps its bits");
}

/// Keys that are not open, that are copied, and files that cannot be.
void requireRefusals() {
  QmRegKey closed;
  closed[u"a"] = true;
  quelfuzz::require(closed.LastError() == 6 && static_cast<std::int32_t>(closed[u"a"]) == 0,
                    "a closed key has nothing");
  quelfuzz::require(!closed.AttachIniFile(nullptr) && !closed.DeleteValue(u"a") && !closed.IsBranch(nullptr, 0),
                    "closed");
  quelfuzz::require(!closed.Branch(u"", true, 0) && !closed.IsBranch(kBranch, 0), "an empty branch is none");
  quelfuzz::require(closed.Branch(kBranch, true, 5) && closed.IsBranch(kBranch, 0), "a branch can be made at home");
  closed[u"flag"] = true;
  closed[u"text"] = static_cast<const qmWChar*>(nullptr);
  QmRegKey copy;
  copy = closed;
  copy = static_cast<const QmRegKey&>(copy);
  quelfuzz::require(static_cast<bool>(copy[u"flag"]) && *static_cast<const qmWChar*>(copy[u"text"]) == u'\0', "a copy");
  copy.Close();
  quelfuzz::require(!copy.IsValid() && closed.IsValid(), "a copy is closed alone");
  quelfuzz::require(copy.AttachIniFile(quelfuzz::pathOf("nowhere/values.ini").c_str()), "any file can be attached");
  quelfuzz::require(!copy.Branch(kBranch, true, 0) && copy.LastError() != 0, "a branch needs a folder");
  QmRegKey reader(closed, QmRegKey::kRead);
  quelfuzz::require(!reader.DeleteValue(u"flag") && reader.LastError() == 5, "a reader deletes nothing");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  quelfuzz::atFirst(requireRefusals);
  quelfuzz::Input in(quelfuzz::bytesOf(data, size));
  const double real = in.real();
  const std::uint32_t whole = in.word();
  const qmWString name = toWide(std::string(in.text()).c_str());
  // A file of 8 bits keeps what is text; half a character becomes U+FFFD, so it is that from the beginning.
  const qmWString text = toWide(std::string(in.text()).c_str());
  const qmWString path = quelfuzz::makeFile("values.ini", in.rest());

  QmRegKey key;
  quelfuzz::require(key.AttachIniFile(path.c_str()), "a file can be attached");
  const bool hadBranch = key.IsBranch(kBranch, QmRegKey::kRead);
  quelfuzz::require(key.Branch(kBranch, false, QmRegKey::kReadWrite) && key.IsValid(), "a branch can be opened");
  requireReadAsText(key, name.c_str());
  requireReadAsText(key, u"LastMappingID");
  if (whole % 2 == 0) {
    requireText(key, name.c_str(), text);
  } else {
    requireNumbers(key, name.c_str(), real, whole);
  }
  requireReadAsText(key, u"LastMappingID");
  quelfuzz::require(key.DeleteValue(name.c_str()), "a value can be deleted");
  // Of two lines of one name the later comes to light.
  if (!hadBranch) quelfuzz::require(!key.IsValue(name.c_str()), "a deleted value is gone");
  QmRegKey reader(key, QmRegKey::kRead);
  reader[u"other"] = 1;
  quelfuzz::require(reader.LastError() == 5, "a key opened for reading does not write");
  return 0;
}
