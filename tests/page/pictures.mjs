// The pictures of the panel in the documents, by day and by night: docs/pictures/panel-light.png and panel-dark.png.
import { mkdtemp, rm, writeFile } from "node:fs/promises";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { fileURLToPath } from "node:url";

import { Stage } from "./stage.mjs";

const IMAGES = fileURLToPath(new URL("../../docs/pictures/", import.meta.url));
const folder = await mkdtemp(join(tmpdir(), "solvane panel "));
const stage = new Stage("lab");

try {
  const scenario = join(folder, "lab.toml");
  await writeFile(scenario, '[[usb]]\nchip = "FT2232H"\n\n[[event]] # after the second picture\nbefore = "FT_Close"\naction = "unplug 0"\n');
  await Promise.all([stage.startBench(scenario), stage.startBrowser()]);
  await stage.startPanel();
  const pages = {};
  for (const colorScheme of ["light", "dark"]) {
    pages[colorScheme] = await stage.open({ colorScheme, viewport: { width: 1280, height: 860 } });
  }
  await stage.command("fault", "FT_Read", "count=0", "call=5000");
  await stage.host("trigger", "-n", "2", "--wait-ready", "500").ended;
  await stage.command("plug", "0");
  const watch = stage.host("watch");
  await watch.line(/ yes /);
  for (const [name, page] of Object.entries(pages)) {
    // From the first picture until the cable is pulled, with the first exposure between the cursors.
    await page.evaluate(() => {
      const { journal, lines } = solvanePanel;
      const time = (text) => journal.marks.find((mark) => mark.text === text).ns;
      const start = time("capture 1");
      const span = (time("unplug 0") - start) * 1.4;
      lines.show(start, span);
      lines.view.from = start - span * 0.12;
      lines.select(1);
      lines.setCursor("A", start);
      lines.setCursor("B", journal.edges[1].next(start));
      lines.choose(start);
    });
    await page.waitForTimeout(300);
    await page.screenshot({ path: join(IMAGES, `panel-${name}.png`) });
  }
  await watch.end();
} finally {
  await stage.close();
  await rm(folder, { recursive: true });
}
