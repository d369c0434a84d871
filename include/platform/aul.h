/* The application utility library: which applications run, with which
 * process ids and in which state. Open service, C interface; calls return
 * AUL_R_OK (0) or a negative AUL_R_ code. */
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

#define AUL_R_OK 0
#define AUL_R_ERROR -1  /* no such process or application */
#define AUL_R_EINVAL -2 /* null or empty argument, or a buffer of no size */

/* Application states reported by aul_app_get_status_bypid. */
enum aul_app_status {
  AUL_STATUS_LAUNCHING = 0,
  AUL_STATUS_CREATED = 1,
  AUL_STATUS_FOCUS = 2,
  AUL_STATUS_VISIBLE = 3,
  AUL_STATUS_BG = 4,
  AUL_STATUS_DYING = 5,
};

/* Copy the application id / package name of process pid into buf (len bytes,
 * always NUL-terminated, cut to fit). */
int aul_app_get_appid_bypid(int pid, char* appid, int len);
int aul_app_get_pkgname_bypid(int pid, char* pkgname, int len);
/* The process id of a running application, or AUL_R_ERROR. */
int aul_app_get_pid(const char* appid);
/* The aul_app_status of process pid, or AUL_R_ERROR. */
int aul_app_get_status_bypid(int pid);
/* Non-zero when the application runs. */
int aul_app_is_running(const char* appid);

#ifdef __cplusplus
}
#endif
