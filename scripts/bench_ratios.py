"""Prints the interesting ratios and differences (of medians) from a run of the benchmarks."""

import json
import sys

with open(sys.argv[1]) as file:
    medians = {run["run_name"]: run["cpu_time"] for run in json.load(file)["benchmarks"]
               if run.get("aggregate_name") == "median"}

print()
print(f"log step without a listener: {medians['LogStepWithoutListener'] - medians['NothingAtAll']:.2f}"
      " ns more than nothing (at most 1)")
print(f"delivered log line: {medians['DeliveredLine'] / medians['DeliveredLineOfSpdlog']:.2f} of"
      " spdlog's time for the same line (at most 0.45 wanted)")
print(f"exported function: {medians['ForwardingExport'] - medians['DirectVirtualCall']:.2f} ns more"
      " than the virtual call behind it (at most 5)")
print(f"trigger on a Super I/O chip: {medians['SuperIoTrigger'] - medians['PortAccessesOfATrigger']:.1f}"
      " ns besides its port accesses and sleeps (at most 1000)")
