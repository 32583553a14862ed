// A host that the type checker accepts, and mistakes that it refuses.
import * as solvane from '../../bindings/node/solvane';
import { Fault, Line, Rig, RigError } from '../../bindings/node/solvane_rig';

export async function host(rig: Rig): Promise<number> {
  solvane.setLogger((line) => { line.toUpperCase(); });
  const since: number = rig.mark();
  const fault: Fault = { status: 4, times: 0 };
  rig.addFault('FT_Write', fault);
  const timer = new solvane.Timer();
  await timer.run(20000, (event) => { if (event.status !== solvane.Status.OK) timer.stop(); });
  const { width_ms } = await rig.expectPulse(Line.TRIGGER, 9, 13, { since, withinMs: 100 });
  const ready: boolean = solvane.checkSystemReady();
  const text: string = rig.command('levels').answer;
  const level: number = rig.command('levels', { json: true }).answer.ready;
  try {
    solvane.triggerCapture();
  } catch (error) {
    if (error instanceof solvane.SolvaneError) return error.status;
    if (error instanceof RigError) return error.message.length;
  }
  return ready ? width_ms + text.length + level : Number(rig.timeNs());
}

export function mistakes(rig: Rig): void {
  // @ts-expect-error
  rig.level(7);
  // @ts-expect-error
  rig.force(Line.READY, 2);
  // @ts-expect-error
  rig.addFault('FT_Write', { statsu: 4 });
  // @ts-expect-error
  rig.waitEdge('ready', 1);
  // @ts-expect-error
  const answer: number = solvane.checkSystemReady();
  // @ts-expect-error
  solvane.setLogger((line: number) => line);
  // @ts-expect-error
  new solvane.Timer().run(20000);
  // @ts-expect-error
  solvane.Status.OK = 1;
}
