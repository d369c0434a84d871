// The built-in state: a plausible set in normal power with a broadcast
// channel on screen, a few sources, two external-box activities, home apps
// running, installed apps with their manifests, and bonded Bluetooth devices.
#include "Core.h"

namespace tvsim {
namespace detail {

const char* defaultStateJson() {
  return R"json({
  "power": {
    "state": 0,
    "wakeupReason": 1,
    "screenOn": true,
    "prePower": 1,
    "powerKeyPressCount": 0,
    "bootingTime": 3120
  },
  "av": { "audioMute": false, "videoMute": false, "welcomeMode": 1 },
  "display": { "width": 1920, "height": 1080 },
  "window": { "language": null },
  "tv": {
    "sources": [
      { "id": 0, "name": "TV", "status": 1 },
      { "id": 33, "name": "HDMI1", "status": 1 },
      { "id": 34, "name": "HDMI2", "status": 1 },
      { "id": 35, "name": "HDMI3", "status": 0 },
      { "id": 6, "name": "AV", "status": 0 },
      { "id": 46, "name": "USB", "status": 0 }
    ],
    "currentSource": 0,
    "subSource": null,
    "lastSource": 33,
    "contextState": 1,
    "tvMode": 1,
    "channel": {
      "source": 0,
      "tvMode": 1,
      "name": "Channel 7",
      "attributes": {
        "1": 2, "2": 7, "4": 1, "6": 0, "12": 1001, "13": 0, "14": 0,
        "15": 7, "16": 1, "18": 0, "22": 0, "37": 0, "41": 0, "110": 0
      }
    }
  },
  "externalBox": {
    "supported": true,
    "activities": [
      { "mode": 1, "source": 33, "name": "Watch Cable Box" },
      { "mode": 2, "source": 34, "name": "Play Game Console" }
    ]
  },
  "appContext": { "connections": 0 },
  "appList": { "connected": false, "disabledItems": [] },
  "screenSaver": { "active": false, "type": "", "parameters": [0, 0, 0, 0] },
  "vconf": {
    "db/tarn/homedeck_version": "5.1.2",
    "memory/mls/state": 0
  },
  "systemInfo": { "129": 1080, "319": true, "343": false },
  "aul": {
    "self": { "appId": "org.tarn.firstscreen", "package": "org.tarn.firstscreen", "status": 2 },
    "running": [
      { "appId": "org.tarn.apps", "package": "org.tarn.apps", "pid": 1204, "status": 4 },
      { "appId": "org.tarn.games", "package": "org.tarn.games", "pid": 1233, "status": 3 },
      { "appId": "org.tarn.search-all", "package": "org.tarn.search-all", "pid": 1290, "status": 4 }
    ]
  },
  "rua": {
    "sessions": 0,
    "history": [
      { "appId": "org.tarn.games", "package": "org.tarn.games", "launchTime": 1700000300 },
      { "appId": "org.tarn.apps", "package": "org.tarn.apps", "launchTime": 1700000200 },
      { "appId": "weather", "package": "org.tarn.weather", "launchTime": 1700000100 }
    ]
  },
  "bluetooth": {
    "initialized": false,
    "adapterEnabled": true,
    "devices": [
      { "address": "A4:6C:F1:10:22:3E", "name": "Smart Remote", "bonded": true,
        "connected": true, "vid": 1256, "pid": 41024 },
      { "address": "00:1B:66:A1:B2:C3", "name": "Wireless Headphones", "bonded": true,
        "connected": false, "vid": 1133, "pid": 2818 },
      { "address": "5C:F3:70:8A:01:7D", "name": "Game Pad", "bonded": true,
        "connected": false, "vid": null, "pid": null }
    ],
    "hid": { "started": false, "set": false }
  },
  "feedback": { "initialized": false, "played": [] },
  "clock": { "lastSet": null, "wallTime": null, "monotonic": null, "failing": [] },
  "launcher": {
    "apps": [
      "org.tarn.apps", "org.tarn.games", "org.tarn.mycontents", "org.tarn.search-all",
      "ads", "org.tarn.weather", "org.tarn.music"
    ]
  },
  "logPolicy": {
    "services": [
      { "attributes": { "name": "browser", "level": "2" },
        "events": [ { "id": "1001", "enable": "1" }, { "id": "1002", "enable": "0" } ] },
      { "attributes": { "name": "firstscreen", "level": "3" },
        "events": [ { "id": "2001", "enable": "1" } ] }
    ]
  },
  "appDataAreas": [
    "firstscreen_temp", "tarnapps/apps_temp", "tarnapps/clips_temp", "tarnapps/games_temp",
    "tarnapps/mycontents_temp", "tarnapps/newson_temp", "tarnapps/soccer_temp", "VCApp"
  ],
  "installedApps": [
    { "dataDir": "tarnapps/apps", "manifest": "src/config.xml", "version": "3.2.10" },
    { "dataDir": "tarnapps/clips", "manifest": "src/config.xml", "version": "1.1.3" },
    { "dataDir": "tarnapps/games", "manifest": "src/config.xml", "version": "2.0.4" },
    { "dataDir": "tarnapps/mycontents", "manifest": "src2/config.xml", "version": "1.8.0" },
    { "dataDir": "tarnapps/newson", "manifest": "src/config.xml", "version": "1.0.7" },
    { "dataDir": "tarnapps/soccer", "manifest": "src/config.xml", "version": "0.9.1" },
    { "dataDir": "VCApp/weather", "manifest": "src/config.xml", "version": "1.4.2" },
    { "dataDir": "VCApp/music", "manifest": "src/config.xml", "version": null }
  ],
  "panels": [
    { "appId": "weather", "package": "org.tarn.weather", "binary": true },
    { "appId": "music", "package": "org.tarn.music", "binary": false }
  ],
  "media": {
    "Welcome_Movie": [ "welcome_uhd.mp4", "welcome_fhd.mp4" ],
    "demo_movie": [ "demo_01.mp4", "demo_02.mp4", "demo_03.mp4" ]
  },
  "markers": { "pexReady": true, "wasReady": true, "firstScreenReady": false },
  "files": {},
  "folders": [],
  "memoryReports": { "memfree": true, "memstat": true }
})json";
}

}  // namespace detail
}  // namespace tvsim
