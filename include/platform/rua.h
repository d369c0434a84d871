/* Recently used applications: the history of launches. Open service, C
 * interface; each call returns 0, or -1 on failure. Calls other than
 * rua_init need an open session (rua_init ... rua_fini). */
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

int rua_init(void);
int rua_fini(void);
/* Deletes the whole history. */
int rua_clear_history(void);
/* Deletes the entries of one package; -1 for a null or empty name. */
int rua_delete_history_with_pkgname(const char* pkg_name);

#ifdef __cplusplus
}
#endif
