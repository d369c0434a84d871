// The toolkit calls bridges make: main-loop idle hand-off and the default
// stage's window-system hints.
#pragma once

#include <glib.h>

extern "C" {

typedef struct _ClutterActor ClutterActor;
typedef struct _ClutterStage ClutterStage;

// Runs func(data) on the script thread's main loop, once if it returns false.
// Safe from any thread.
guint clutter_threads_add_idle_full(gint priority, GSourceFunc func, gpointer data,
                                    GDestroyNotify notify);

// The process's default stage.
ClutterActor* clutter_stage_get_default(void);

// Adds a window-system hint to the stage; returns whether it was accepted.
gboolean clutter_stage_aux_hint_add(ClutterStage* stage, const gchar* hint, const gchar* value);
}

#define CLUTTER_STAGE(actor) (reinterpret_cast<ClutterStage*>(actor))
