// Types of solvane.js, where everything is explained.

/** The statuses of solvane.h. */
export const Status: {
  readonly OK: 0;
  readonly UNDETERMINED: -1;
  readonly WRITE: -2;
  readonly NO_HARDWARE: -3;
  readonly INVALID: -4;
  readonly NOT_READY: -5;
};

/** Thrown for a status other than 0. */
export class SolvaneError extends Error {
  constructor(func: string, status: number);
  /** The function of solvane.h that returned it. */
  readonly func: string;
  readonly status: number;
}

export interface TimerEvent {
  readonly status: number;
  readonly initialStatusOk: number;
  readonly data0: number;
  readonly data1: number;
  readonly data2: number;
  readonly data3: number;
}

/** A timer of the kernel driver; in the main thread only. */
export class Timer {
  /** Opens the driver; throws when it is not installed. */
  constructor();
  /** Calls onEvent for each event until stop() or an exception out of it; settled when the run has ended. */
  run(parameter: number, onEvent: (event: TimerEvent) => void): Promise<void>;
  /** Ends the run in progress at the driver's next event; if there is none, the next run ends at once. */
  stop(): void;
  /** Not during a run. */
  dispose(): void;
}

/** The functions of solvane.h as they are. */
export const native: Readonly<Record<string, (...args: any[]) => any>>;

/** Passes each log line to onLine; null ends that. */
export function setLogger(onLine: ((line: string) => void) | null): void;

export function checkAvailable(): void;
export function checkPowerControlAvailable(): void;
export function recheckStatus(): void;
export function enforceFTDI(): void;

export function triggerCapture(): void;
export function checkSystemReady(): boolean;
/** Clears the flag. */
export function checkAndResetMepFlag(): boolean;
export function wakeCamera(): void;

export function enableForcedBlackUpdate(): void;
export function disableForcedBlackUpdate(): void;
export function checkForcedBlackUpdate(): boolean;

export function enableCameraPower(): void;
export function disableCameraPower(): void;
export function checkCameraPower(): boolean;
export function enableAccessoriesPower(): void;
export function disableAccessoriesPower(): void;
export function checkAccessoriesPower(): boolean;

export function closeDevice(): void;
export function resetComPort(): void;
