/* Path configuration: absolute paths of the platform's well-known folders,
 * by variable number. Open service, C interface. */
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

/* The variables this system uses. */
enum tzplatform_variable {
  TZPLATFORM_MEDIA = 9,      /* shared media (pre-installed movies) */
  TZPLATFORM_USER_HOME = 17, /* users' homes ("owner/...") */
  TZPLATFORM_SYS_CONFIG = 40 /* system configuration of the services */
};

/* The variable's folder joined with `relative`. The text belongs to the
 * library and stays valid until the next call from the same thread; null for
 * an unknown variable or a null relative path. */
const char* tzplatform_mkpath(int variable, const char* relative);

#ifdef __cplusplus
}
#endif
