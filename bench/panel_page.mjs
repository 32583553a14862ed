// How fast the panel is, in a real browser on a bench in Wine: medians of one run, as a table for docs/panel.md.
import { Stage, until } from "../tests/page/stage.mjs";

const SAMPLES = 31;
const stage = new Stage("measured");

const median = (numbers) => numbers.sort((one, other) => one - other)[numbers.length >> 1];

/** Of one click on the lens: when the command was answered, when the page had the edge, and when it was drawn. */
function timesOfClick(page) {
  return page.evaluate(
    () =>
      new Promise((resolve) => {
        const { journal, lines } = solvanePanel;
        const times = {};
        const [add, draw, send] = [journal.add, lines.drawing.draw, globalThis.fetch];
        const finish = () => {
          if (times.answered && times.drawn) {
            delete journal.add;
            delete lines.drawing.draw;
            globalThis.fetch = send;
            resolve(times);
          }
        };
        journal.add = (entries) => {
          add.call(journal, entries);
          if (entries.some((entry) => entry.text.startsWith("ready "))) {
            times.known ??= performance.now() - start;
          }
        };
        lines.drawing.draw = (...inputs) => {
          draw.call(lines.drawing, ...inputs);
          if (times.known) {
            times.drawn ??= performance.now() - start;
            finish();
          }
        };
        globalThis.fetch = async (...inputs) => {
          const answer = await send(...inputs);
          times.answered ??= performance.now() - start;
          finish();
          return answer;
        };
        const start = performance.now();
        document.querySelector('[data-key="lens"]').dispatchEvent(new MouseEvent("click", { bubbles: true }));
      }),
  );
}

try {
  await Promise.all([stage.startBench(), stage.startBrowser()]);
  await stage.startPanel();
  const page = await stage.open();

  const starts = [];
  for (let i = 0; i < SAMPLES; ++i) {
    await page.goto("about:blank");
    await page.goto(stage.address);
    starts.push(await page.waitForFunction(() => performance.getEntriesByName("panel-shown")[0]?.startTime).then((time) => time.jsonValue()));
  }
  const clicks = [];
  for (let i = 0; i < SAMPLES; ++i) {
    clicks.push(await timesOfClick(page));
    await page.waitForTimeout(50);
  }
  const of = (name) => median(clicks.map((times) => times[name]));

  const host = stage.edgesHost(5);
  await host.ended;
  const [, edges, took] = /(\d+) edges in (\d+) ms/.exec(host.text).map(Number);
  const seen = () => page.evaluate(() => solvanePanel.journal.edges[0].count);
  await until(async () => (await seen()) >= edges, "all edges").catch(() => {});
  const lost = edges - (await seen());

  console.log(`| | median of ${SAMPLES} |
| --- | --- |
| from a click until the edge has happened and the command is answered | ${of("answered").toFixed(0)} ms |
| from a click until the page knows the edge | ${of("known").toFixed(0)} ms |
| until it is drawn | ${of("drawn").toFixed(0)} ms |
| from the address until the page shows the bench | ${median(starts).toFixed(0)} ms |
| edges lost of ${edges.toLocaleString("en")}, at ${Math.round((edges / took) * 1000).toLocaleString("en")} a second | ${lost} |`);
} finally {
  await stage.close();
}
