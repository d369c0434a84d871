// Fuzz target of the readers of the app services' files: the launcher list
// (JSON), an app's config.xml and the log policy (XML). The first byte picks
// the reader, the rest is the file. Whatever the bytes, a reader answers
// without crashing, leaking or recursing without bound.
#include <cstddef>
#include <cstdint>
#include <string>

#include <json/writer.h>

#include "apps/Documents.h"

using namespace Bridge::documents;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
  switch (data[0] % 3) {
    case 0: {  // launcher list, walked as the three launcher handlers walk it
      Json::Value root;
      if (!parseJson(text, &root)) return 0;
      try {
        Json::Value data = root["data"];
        Json::Value out;
        for (Json::ArrayIndex i = 0; i < data.size(); ++i)
          out.append(Json::Value(data[i]["appId"].asString()));
        Json::StreamWriterBuilder builder;
        Json::writeString(builder, out);
        bool hasAd = false;
        launcherAllowance(data, &hasAd);
      } catch (const Json::Exception&) {
        // The handlers' "json exception" answer.
      }
      return 0;
    }
    case 1: {  // config.xml
      TiXmlDocument doc;
      parseXml(text, &doc);
      std::string version;
      widgetVersion(doc, &version);
      return 0;
    }
    default: {  // log policy, looked up by a key taken from the file's start
      TiXmlDocument doc;
      parseXml(text, &doc);
      Json::Value result;
      logPolicy(doc, text.substr(0, text.size() % 5), &result);
      Json::StreamWriterBuilder builder;
      Json::writeString(builder, result);
      return 0;
    }
  }
}
