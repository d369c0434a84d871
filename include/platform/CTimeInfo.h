// The engine's formatting of a point in time as the TV shows it.
#pragma once

#include <string>

class CTimeInfo {
 public:
  explicit CTimeInfo(unsigned long secondsSinceEpoch);

  // Local date. longForm: weekday and month spelt out ("Sunday, 22 November
  // 2026") instead of digits ("22/11/2026"); yearFirst: "2026/11/22" or
  // "2026, Sunday 22 November".
  std::string GetDateString(bool longForm, bool yearFirst) const;
  // Local time. twelveHour: "3:04 PM" instead of "15:04".
  std::string GetTimeString(bool twelveHour) const;

 private:
  unsigned long seconds_;
};
