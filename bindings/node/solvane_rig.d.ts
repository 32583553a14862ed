// Types of solvane_rig.js, where everything is explained.

/** The lines of the camera. */
export const Line: {
  readonly TRIGGER: 0;
  readonly READY: 1;
  readonly MEP: 2;
  readonly CLEAR_MEP: 3;
  readonly DARK: 4;
  readonly CAMERA_POWER: 5;
  readonly ACCESSORIES_POWER: 6;
};
export type Line = (typeof Line)[keyof typeof Line];

/** Active is 1, whatever polarity a chip's pin has. */
export type Level = 0 | 1;

/** Thrown when the rig refuses something. */
export class RigError extends Error {
  constructor(message: string);
}

/** What the calls do instead of working: at least one of the first three. */
export interface Fault {
  status?: number;
  count?: number;
  silent?: boolean;
  /** The first call, counted from 1 since the scenario began; else the next one. */
  call?: number;
  /** How many calls in a row, 1 unless said; 0: every one from then on. */
  times?: number;
}

export interface Entry {
  timeMs: number;
  kind: 'call' | 'edge' | 'event' | 'note';
  text: string;
}

export interface Wait {
  /** 5000 unless said. */
  withinMs?: number;
  /** What mark() returned. */
  since?: number;
}

/** The rig of this process, or the bench that SOLVANE_RIG names. All objects are the same rig. */
export class Rig {
  /** Leaves the rig as it is, or loads the text of a scenario. */
  constructor(scenario?: string);
  load(scenario?: string | null): void;
  loadFile(file: string): void;
  error(): string;
  scenario(): string;

  level(line: Line): Level;
  /** READY or MEP. */
  force(line: Line, level: Level): void;
  release(line: Line): void;
  captures(): number;
  unplug(chip?: number): void;
  plug(chip?: number): void;
  wbemInterfaces(): number;

  addFault(func: string, fault: Fault): void;
  clearFaults(): void;
  calls(func?: string): number;

  journal(since?: number): Entry[];
  clearJournal(): void;
  mark(): number;
  note(text: string): void;

  command(words: string, options?: { json?: false }): { exitCode: number; answer: string };
  command(words: string, options: { json: true }): { exitCode: number; answer: any };
  waitEdge(line: Line, level: Level, options?: Wait): Promise<{ edge: string; time_ms: number }>;
  expectPulse(line: Line, fromMs: number, toMs: number, options?: Wait): Promise<{
    line: string; expected: string; as_expected: true; width_ms: number; time_ms: number;
  }>;

  timeNs(): bigint;
  writeVcd(file: string | null): void;
}
