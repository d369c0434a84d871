// Text-to-text arguments of an engine event.
#pragma once

#include <map>
#include <string>

typedef std::map<std::string, std::string> TarnEventArgsMap;
