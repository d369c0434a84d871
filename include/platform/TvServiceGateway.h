// The TV service gateway: AV control (mutes), source control (current source
// and source status), service navigation (TV mode and the current service's
// data). Closed library: factory functions in a namespace hand out control
// objects that belong to the gateway and stay valid for the life of the
// process (callers never free them). Creation returns 0 on success; the
// controls' own operations return 1 or more on success, 0 or less on failure.
#pragma once

#include <map>
#include <vector>

namespace TvServiceGateway {

enum Error {
  TVSG_ERROR_NONE = 0,
  TVSG_ERROR_INVALID_PARAMETER = -1,
  TVSG_ERROR_NOT_AVAILABLE = -2,
};

// Profiles and windows (indexes) the gateway knows.
enum Profile { PROFILE_DEFAULT = 0, PROFILE_MAIN = 1 };
enum Window { WINDOW_MAIN = 0, WINDOW_SUB = 1 };

class AvControl {
 public:
  virtual ~AvControl() = default;
  // Mutes (true) or unmutes the TV's audio or video; 1 on success.
  virtual int setAudioMute(bool on) = 0;
  virtual int setVideoMute(bool on) = 0;
};

class SourceControl {
 public:
  virtual ~SourceControl() = default;
  // The window's current source (the platform's source number); 1 on success.
  virtual int getCurrentSource(int* source) = 0;
  // Fills `statuses` with the status of each requested source the set has;
  // sources it does not have are left out. 1 on success.
  virtual int getSourceStatus(const std::vector<int>& sources, std::map<int, int>* statuses) = 0;
};

// One attribute of a service: its number and integer value.
struct ServiceAttribute {
  int number;
  int value;
};

// The data of one service: the attributes that were asked for and that the
// service has. Filled by ServiceNavigation::getCurrentServiceInfo.
class ServiceData {
 public:
  // The attribute, or null when the service has none of that number. The
  // pointer is valid while this object lives and is not refilled.
  const ServiceAttribute* getAttribute(int number) const;

  std::map<int, ServiceAttribute> attributes;
};

class ServiceNavigation {
 public:
  virtual ~ServiceNavigation() = default;
  // The TV mode (the platform's number of the current broadcast kind).
  virtual int getTvMode(int* mode) = 0;
  // The current service's data for `tvMode`, limited to `attributes`.
  virtual int getCurrentServiceInfo(int tvMode, const std::vector<int>& attributes,
                                    ServiceData* data) = 0;
};

// Attribute 1 of a service is its channel type.
constexpr int ATTRIBUTE_CHANNEL_TYPE = 1;

// Each stores the control in *control (null on failure) and returns 0 on
// success or a negative Error.
int createAvControl(int profile, int index, AvControl** control);
int createSourceControl(int profile, int window, SourceControl** control);
int createServiceNavigation(int profile, int index, ServiceNavigation** navigation);

}  // namespace TvServiceGateway
