"""Compiles the C# binding, its examples and its tests, where they are not up to date.

    csharp_programs.py --dotnet <the npm package with .NET> --programs <folder>

The binding becomes Solvane.Managed.dll, which the programs share, and which is also compiled for .NET
Framework. All of it is C# 5, which any compiler since 2012 knows, without a warning and with a description of
everything public.
"""

import argparse
import concurrent.futures
import glob
import os
import subprocess
import tempfile

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
BINDING = sorted(glob.glob(os.path.join(ROOT, "bindings/csharp/*.cs")))
TESTS = os.path.join(ROOT, "tests/bindings")
EXPECT = os.path.join(TESTS, "csharp/expect.cs")
LIBRARY = "Solvane.Managed.dll"
REFERENCES = ["System.Private.CoreLib", "System.Runtime", "System.Runtime.Extensions", "System.Console",
              "System.Collections", "System.Collections.Concurrent", "System.Linq", "System.Threading",
              "System.Threading.Thread", "System.Text.RegularExpressions", "System.IO.FileSystem",
              "System.Runtime.InteropServices"]
STRICT = ["mcs", "-langversion:5", "-warnaserror", "-warn:4", "-platform:x64"]


def programs():
    """{name: sources}"""
    found = {name: [path] for path in glob.glob(os.path.join(ROOT, "examples/csharp/*.cs"))
             for name in [os.path.basename(path)[:-3]]}
    found["timer_rules"] = [os.path.join(TESTS, "timer_rules.cs")]
    found["exit_rules"] = [os.path.join(TESTS, "csharp/exit_rules.cs")]
    found["rig_test"] = [os.path.join(TESTS, "csharp/rig_test.cs"), EXPECT]
    found["take_a_picture_test"] = [os.path.join(TESTS, "csharp/take_a_picture_test.cs"), EXPECT,
                                    *found["take_a_picture"], "-main:TakeAPictureTest"]
    return found


def compile_to(output, sources, *options):
    """Compiles unless the output is newer than all of this."""
    files = [path for path in sources if not path.startswith("-")]
    inputs = files + BINDING + [os.path.abspath(__file__)]
    if os.path.exists(output) and os.path.getmtime(output) > max(map(os.path.getmtime, inputs)):
        return
    with tempfile.TemporaryDirectory(dir=os.path.dirname(output)) as folder:
        new = os.path.join(folder, os.path.basename(output))
        subprocess.run([*STRICT, *options, f"-out:{new}", *sources], check=True)
        os.replace(new, output)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--dotnet", required=True)
    parser.add_argument("--programs", required=True)
    options = parser.parse_args()
    os.makedirs(options.programs, exist_ok=True)

    framework, = glob.glob(os.path.join(options.dotnet, "shared/Microsoft.NETCore.App/*"))
    # mcs finds that some of .NET's own assemblies differ from themselves: warning 1702.
    dotnet = ["-nowarn:1702", "-noconfig", "-nostdlib", f"-lib:{framework}",
              *(f"-r:{name}.dll" for name in REFERENCES)]
    library = os.path.join(options.programs, LIBRARY)
    compile_to(library, BINDING, *dotnet, "-target:library", f"-doc:{options.programs}/Solvane.Managed.xml")
    compile_to(os.path.join(options.programs, "for_net_framework.dll"), BINDING, "-target:library")
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for done in [pool.submit(compile_to, os.path.join(options.programs, f"{name}.exe"), sources,
                                 *dotnet, f"-r:{library}") for name, sources in programs().items()]:
            done.result()


if __name__ == "__main__":
    main()
