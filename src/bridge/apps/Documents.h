// Readers of the set's JSON and XML files, shared by the handlers and the
// fuzz target. Files are written by other components and may be anything:
// nesting is bounded before either parser recurses, and no reader throws.
#pragma once

#include <string>

#include <json/value.h>
#include <tinyxml.h>

namespace Bridge {
namespace documents {

// Deeper JSON is refused (jsoncpp's own limit is 1000, which a small stack
// does not always survive); the files read here nest three levels.
constexpr int kMaxJsonDepth = 64;
// TinyXML recurses once per element level and has no limit of its own; the
// same bound as JSON, so every document the system reads has one limit.
constexpr int kMaxXmlDepth = 64;

// Parses `text` as a JSON document; false (and `*root` null) when it does not
// parse or nests deeper than kMaxJsonDepth.
bool parseJson(const std::string& text, Json::Value* root);

// The deepest element nesting of `text`, counting start tags against end
// tags without parsing; stops counting past `stopAt`.
int xmlDepth(const std::string& text, int stopAt);

// Parses `text` into `doc`; false when it nests deeper than kMaxXmlDepth or
// does not parse.
bool parseXml(const std::string& text, TiXmlDocument* doc);

// Reads and parses the XML file at `path`, as TiXmlDocument::LoadFile would;
// false when it cannot be read or parsed.
bool loadXmlFile(const std::string& path, TiXmlDocument* doc);

// The text of the manifest's root-level "widget" / "ver" element.
enum class WidgetVersion { kFound, kNoWidget, kNoVer, kNoText };
WidgetVersion widgetVersion(const TiXmlDocument& doc, std::string* version);

// The log policy of the first service of "rsp"/"list" whose "name" begins
// with `key`, as {"service": {attributes}, "event": [{attributes}...]}.
enum class LogPolicy { kFound, kNoRsp, kNoList, kNoName, kNoService };
LogPolicy logPolicy(const TiXmlDocument& doc, const std::string& key, Json::Value* result);

// The launcher bar's allowance for `data` (the list's "data" member, padded
// to five entries by the look at the advertisement slot, as the home screen
// counts it): 45 when the fifth entry is the advertisement tile, else 44.
// May throw Json::Exception for entries of the wrong type.
int launcherAllowance(Json::Value& data, bool* hasAd);

}  // namespace documents
}  // namespace Bridge
