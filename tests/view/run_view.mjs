// Starts tarn-run with the simulated TV's view on a free port and hands back
// the page's address and the run's output as it comes.
import { spawn } from 'node:child_process';

export function startView(tarnRun, args) {
  // A cross build's programs run under its emulator (TARN_EMULATOR).
  const emulator = (process.env.TARN_EMULATOR || '').split(' ').filter((w) => w);
  const command = emulator.concat([tarnRun], args);
  const child = spawn(command[0], command.slice(1), { stdio: ['ignore', 'pipe', 'pipe'] });
  const run = { child, stdout: '', stderr: '', exited: null };
  child.stdout.on('data', (d) => { run.stdout += d; });
  child.stderr.on('data', (d) => { run.stderr += d; });
  run.done = new Promise((resolve) => child.on('exit', (code, signal) => {
    run.exited = { code, signal };
    resolve(run.exited);
  }));
  run.url = waitFor(run, () => {
    const m = run.stderr.match(/Simulated TV view on (http:\/\/[^\s]+\/)\n/);
    return m && m[1];
  }, 60000, 'the view\'s address on stderr');
  return run;
}

export async function waitFor(run, test, ms, what) {
  const end = Date.now() + ms;
  for (;;) {
    const value = test();
    if (value) return value;
    if (run.exited) throw new Error(`tarn-run ended (${JSON.stringify(run.exited)}) before ${what}\nstderr: ${run.stderr}`);
    if (Date.now() > end) throw new Error(`timed out waiting for ${what}\nstdout: ${run.stdout}\nstderr: ${run.stderr}`);
    await new Promise((r) => setTimeout(r, 20));
  }
}

export async function stop(run) {
  if (!run.exited) run.child.kill('SIGINT');
  return run.done;
}
