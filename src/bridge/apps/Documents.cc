// Bounded JSON and XML readers for the files of the app services (manifests,
// launcher list, log policy). Their callers log; these only answer.
#include "apps/Documents.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include <json/reader.h>

#include "binding/FileReads.h"

namespace Bridge {
namespace documents {

namespace {

constexpr std::size_t kXmlChunk = 65536;

}  // namespace

bool parseJson(const std::string& text, Json::Value* root) {
  *root = Json::Value();
  Json::CharReaderBuilder builder;
  builder["stackLimit"] = kMaxJsonDepth;
  builder["collectComments"] = false;
  std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  std::string errors;
  try {
    if (reader->parse(text.data(), text.data() + text.size(), root, &errors)) return true;
  } catch (const Json::Exception&) {
    // Past the stack limit jsoncpp throws instead of answering false.
  }
  *root = Json::Value();
  return false;
}

int xmlDepth(const std::string& text, int stopAt) {
  int depth = 0;
  int deepest = 0;
  const std::size_t n = text.size();
  std::size_t i = 0;
  while (i < n) {
    if (text[i] != '<') {
      ++i;
      continue;
    }
    if (text.compare(i, 4, "<!--") == 0) {
      std::size_t end = text.find("-->", i + 4);
      i = end == std::string::npos ? n : end + 3;
      continue;
    }
    if (text.compare(i, 9, "<![CDATA[") == 0) {
      std::size_t end = text.find("]]>", i + 9);
      i = end == std::string::npos ? n : end + 3;
      continue;
    }
    const char next = i + 1 < n ? text[i + 1] : '\0';
    if (next == '?' || next == '!') {
      std::size_t end = text.find('>', i + 1);
      i = end == std::string::npos ? n : end + 1;
      continue;
    }
    // A tag: find its end outside quoted attribute values.
    // A quote opens a value only right after "=", as the parser reads it.
    std::size_t j = i + 1;
    char quote = 0;
    char lastMark = 0;
    while (j < n && (quote || text[j] != '>')) {
      const char c = text[j];
      if (quote) {
        if (c == quote) quote = 0;
      } else if ((c == '"' || c == '\'') && lastMark == '=') {
        quote = c;
      }
      if (!quote && c != ' ' && c != '\t' && c != '\r' && c != '\n') lastMark = c;
      ++j;
    }
    if (next == '/') {
      if (depth > 0) --depth;
    } else if (!(j < n && j > i + 1 && text[j - 1] == '/')) {
      ++depth;
      if (depth > deepest) deepest = depth;
      if (deepest > stopAt) return deepest;
    }
    i = j < n ? j + 1 : n;
  }
  return deepest;
}

bool parseXml(const std::string& text, TiXmlDocument* doc) {
  doc->Clear();
  if (xmlDepth(text, kMaxXmlDepth) > kMaxXmlDepth) return false;
  doc->Parse(text.c_str(), nullptr, TIXML_ENCODING_UNKNOWN);
  if (!doc->Error()) return true;
  // The parser keeps what it read before the error; none of it is trusted.
  doc->Clear();
  return false;
}

bool loadXmlFile(const std::string& path, TiXmlDocument* doc) {
  std::string text;
  if (files::readInChunks(path, kXmlChunk, &text) != files::ReadStatus::kRead) {
    doc->Clear();
    return false;
  }
  return parseXml(text, doc);
}

WidgetVersion widgetVersion(const TiXmlDocument& doc, std::string* version) {
  version->clear();
  const TiXmlElement* root = doc.FirstChildElement("widget");
  if (!root) return WidgetVersion::kNoWidget;
  const TiXmlElement* ver = root->FirstChildElement("ver");
  if (!ver) return WidgetVersion::kNoVer;
  const char* text = ver->GetText();
  if (!text) return WidgetVersion::kNoText;
  *version = text;
  return WidgetVersion::kFound;
}

namespace {

Json::Value attributesOf(const TiXmlElement& element) {
  Json::Value out(Json::objectValue);
  for (const TiXmlAttribute* a = element.FirstAttribute(); a; a = a->Next()) {
    out[a->Name()] = Json::Value(a->Value());
  }
  return out;
}

}  // namespace

LogPolicy logPolicy(const TiXmlDocument& doc, const std::string& key, Json::Value* result) {
  *result = Json::Value();
  const TiXmlElement* root = doc.FirstChildElement("rsp");
  if (!root) return LogPolicy::kNoRsp;
  const TiXmlElement* list = root->FirstChildElement("list");
  if (!list) return LogPolicy::kNoList;
  const TiXmlElement* service = nullptr;
  for (const TiXmlElement* e = list->FirstChildElement(); e; e = e->NextSiblingElement()) {
    const char* name = e->Attribute("name");
    if (!name) return LogPolicy::kNoName;
    // A prefix match, as the services have always been looked up; the key
    // counts up to its first NUL, as a C text would.
    if (std::strncmp(name, key.c_str(), std::strlen(key.c_str())) == 0) {
      service = e;
      break;
    }
  }
  if (!service) return LogPolicy::kNoService;
  Json::Value events(Json::arrayValue);
  for (const TiXmlElement* e = service->FirstChildElement(); e; e = e->NextSiblingElement()) {
    events.append(attributesOf(*e));
  }
  (*result)["service"] = attributesOf(*service);
  (*result)["event"] = events;
  return LogPolicy::kFound;
}

int launcherAllowance(Json::Value& data, bool* hasAd) {
  // Non-const access on purpose: it pads a short list to five entries.
  *hasAd = data[4].get("appId", "").asString() == "ads";
  return *hasAd ? 45 : 44;
}

}  // namespace documents
}  // namespace Bridge
