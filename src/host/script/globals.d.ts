// What tarn-run gives every script besides the bridges' classes: the console,
// timers and the `tarn` object. Appended to the generated QDUtil declarations.

/** The console; values print as node prints them. log, info, debug and dirxml write to
 * standard output, warn, error and trace to standard error. */
declare var console: {
  log(...values: unknown[]): void;
  info(...values: unknown[]): void;
  debug(...values: unknown[]): void;
  warn(...values: unknown[]): void;
  error(...values: unknown[]): void;
  trace(...values: unknown[]): void;
  dir(value?: unknown, options?: object): void;
  dirxml(...values: unknown[]): void;
  table(data: unknown, columns?: string[]): void;
  assert(condition?: unknown, ...values: unknown[]): void;
  clear(): void;
  count(label?: string): void;
  countReset(label?: string): void;
  group(...labels: unknown[]): void;
  groupCollapsed(...labels: unknown[]): void;
  groupEnd(): void;
  time(label?: string): void;
  timeEnd(label?: string): void;
  timeLog(label?: string, ...values: unknown[]): void;
  profile(label?: string): void;
  profileEnd(label?: string): void;
  timeStamp(label?: string): void;
};

/** Calls `callback` once after `delay` milliseconds (0 when missing), with `args`. */
declare function setTimeout<A extends unknown[]>(
  callback: (...args: A) => void, delay?: number, ...args: A): number;
/** Calls `callback` every `delay` milliseconds (at least 1), with `args`. */
declare function setInterval<A extends unknown[]>(
  callback: (...args: A) => void, delay?: number, ...args: A): number;
/** Cancels a timer; an unknown id is ignored. */
declare function clearTimeout(id?: number): void;
/** Cancels a timer; an unknown id is ignored. */
declare function clearInterval(id?: number): void;
/** Runs `callback` with the promise reactions, before any timer. */
declare function queueMicrotask(callback: () => void): void;
/** A deep copy made by the engine's serializer; throws a DataCloneError for what it cannot copy. */
declare function structuredClone<T>(value: T): T;

/** The engine host: its arguments, exit, engine events, log capture and, off the set, the
 * simulated TV. */
declare namespace tarn {
  /** The arguments after the script's name (or after -e CODE). */
  const args: string[];
  /** tarn-run's version. */
  const version: string;
  /** The exit status used when the run ends by itself or at tarn.exit(). */
  let exitCode: number;
  /** Ends the run at once with `code` (0 to 255; default tarn.exitCode). */
  function exit(code?: number | string): never;
  /** Runs another script file in the global scope; a relative path starts from the calling
   * file's folder. */
  function load(path: string): void;

  /** The power life-cycle interrupt codes delivered to tarn.on("interrupt"). */
  const interrupts: {
    /** A power-off notice with the suspend bit. */
    readonly SUSPEND: 0x1009009e;
    /** A power-off notice for a factory reset. */
    readonly FACTORY_RESET: 0x1009009f;
    /** A power-off notice for a service reset. */
    readonly SERVICE_RESET: 0x100900a0;
    /** The early wake-up ("registerWakeUp"). */
    readonly WAKEUP: 0x100900a4;
    /** The late wake-up ("registerLateWakeUp"). */
    readonly LATE_WAKEUP: 0x100900a5;
    /** The power state became standby ("registerPowerChanged"). */
    readonly POWER_STANDBY: 0x100900aa;
  };
  /** A code of tarn.on("interrupt"). */
  type InterruptCode = (typeof interrupts)[keyof typeof interrupts];
  /** The text map an engine event carries ("json" for the home screen's events). */
  type EventArgs = { [key: string]: string };

  /** Engine events sent by bridges: "event" (the home screen's signals, codes ON_FS_...)
   * and "interrupt" (the power life cycle). The run goes on while a listener is set. */
  function on(name: "event", listener: (code: QDUtil.HomeScreenEventCode, args: EventArgs) => void): void;
  function on(name: "interrupt", listener: (code: InterruptCode, args: EventArgs) => void): void;
  /** Removes a listener that tarn.on added. */
  function off(name: "event", listener: (code: QDUtil.HomeScreenEventCode, args: EventArgs) => void): void;
  function off(name: "interrupt", listener: (code: InterruptCode, args: EventArgs) => void): void;

  /** The process's memory, in bytes. */
  function memoryUsage(): {
    rss: number;
    heapTotal: number;
    heapUsed: number;
    external: number;
    arrayBuffers: number;
  };

  /** One log line recorded by tarn.log.capture(). */
  interface LogRecord {
    logger: string;
    /** 0 error, 1 warning, 2 info, 3 debug, 4 trace. */
    level: number;
    file: string;
    function: string;
    line: number;
    text: string;
  }
  /** Recording of every log line, at every level, whatever the threshold. */
  namespace log {
    /** Starts recording. */
    function capture(): void;
    /** The lines recorded since the last take(), which it forgets. */
    function take(): LogRecord[];
    /** Stops recording and drops what was recorded. */
    function stop(): void;
  }
  namespace stage {
    /** The window-system hints added to the default stage. */
    function hints(): { key: string; value: string }[];
  }
  namespace config {
    /** The texture-atlas settings bridges left in the engine's configuration. */
    function atlas(): { width: number; height: boolean };
  }
  namespace test {
    /** Clears an object's native pointer, as the engine does once it has handed the object
     * back to its bridge. */
    function detachNative(object: object): void;
  }

  /** One platform call as the simulated TV journals it. */
  interface JournalEntry {
    seq: number;
    library: string;
    operation: string;
    arguments: unknown[];
    result: unknown;
    forced: boolean;
    thread: number;
    simulatorThread: boolean;
  }
  /** The simulated TV (tarn-run off the set). Paths name state members by dots
   * ("tv.sources.1.status"). */
  namespace sim {
    /** A value of the state, or the whole state. */
    function get(path?: string): any;
    /** Changes a value (objects merge); throws with the reason when refused. */
    function set(path: string, value: unknown): true;
    /** Removes a map member or a list element. */
    function remove(path: string): true;
    /** Loads a state file over the built-in state. */
    function load(file: string): true;
    /** Back to the built-in state. */
    function reset(): true;
    /** The built-in state. */
    function defaultState(): any;
    /** The next call of `operation` returns `value` and does nothing else. */
    function forceResult(operation: string, value: unknown): true;
    /** Drops every forced result. */
    function clearForcedResults(): true;
    /** The names of the simulated operations. */
    function operations(): string[];
    /** A platform event: "wakeup", "powerOff", "powerState", "powerKey", "btConnection",
     * "btBonded", "sourceStatus". */
    function fire(event: string, ...args: unknown[]): true;
    /** Waits until the notifications fired so far were delivered. */
    function waitForNotifications(ms?: number): boolean;
    /** The journal, or the entries of one operation, library or fired event. */
    function journal(filter?: string): JournalEntry[];
    /** Empties the journal. */
    function clearJournal(): true;
    /** The folder under which device paths lie. */
    function root(): string;
    /** The bytes of the file at a device path; null when it is not a readable file. */
    function readFile(path: string): Uint8Array | null;
    /** Makes a folder and its parents at a device path. */
    function makeFolder(path: string): boolean;
    /** Removes a file or a whole folder at a device path. */
    function removePath(path: string): boolean;
  }
}
