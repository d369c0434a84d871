// The home screen's app-list control over D-Bus: items disabled per app.
// Closed library, free functions in a namespace; 0 on success or a negative
// Error. The item calls need an open connection.
#pragma once

namespace AppListControlClient {

enum Error {
  APPLIST_ERROR_NONE = 0,
  APPLIST_ERROR_INVALID_PARAMETER = -1,
  APPLIST_ERROR_NOT_CONNECTED = -2,
};

int initDbusConnection();
int finiDbusConnection();
// Disables item `item` of app `appName`.
int disableItem(const char* appName, const char* item);
// Re-enables every item disabled for `appName`.
int removeDisabledItemsByAppname(const char* appName);

}  // namespace AppListControlClient
