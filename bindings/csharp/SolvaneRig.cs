// The rig's functions for tests, for C#: a camera and hardware that are not there, in the hands of a test of
// a host. Add this file to the test's project, and put the rig's DLLs beside the program (solvane-rig place).
//
// The hardware is in this process, or in another one if the environment says SOLVANE_RIG=bench; the functions
// are the same. rig.h and rig/README.md describe them, and the words of scenarios and commands. Any thread may
// call anything at any time.

using System;
using System.Collections.Generic;
using System.Globalization;
using System.Runtime.InteropServices;
using System.Text;
using System.Text.RegularExpressions;

namespace Solvane
{
    /// <summary>The lines of the camera.</summary>
    public enum RigLine
    {
        /// <summary>Host to camera.</summary>
        Trigger,
        /// <summary>Camera to host.</summary>
        Ready,
        /// <summary>Camera to host: the latched flag.</summary>
        Mep,
        /// <summary>Host to camera.</summary>
        ClearMep,
        /// <summary>Host to camera.</summary>
        Dark,
        /// <summary>Host to camera.</summary>
        CameraPower,
        /// <summary>Host to camera.</summary>
        AccessoriesPower
    }

    /// <summary>What an entry of the journal is about.</summary>
    public enum RigEntryKind
    {
        /// <summary>A vendor call: "FT_Write(SLV1B, [82 41 4f]) -> 0, 3".</summary>
        Call,
        /// <summary>An edge: "trigger 1".</summary>
        Edge,
        /// <summary>An event: "unplug 0", "capture 1", "ignored trigger", "fault FT_Write".</summary>
        Event,
        /// <summary>What Note was given.</summary>
        Note
    }

    /// <summary>One entry of the journal.</summary>
    public sealed class RigEntry
    {
        internal RigEntry(ulong timeNs, RigEntryKind kind, string text)
        {
            TimeNs = timeNs;
            Kind = kind;
            Text = text;
        }

        /// <summary>Nanoseconds since the scenario began.</summary>
        public ulong TimeNs { get; private set; }

        /// <summary>What it is about.</summary>
        public RigEntryKind Kind { get; private set; }

        /// <summary>As the examples of RigEntryKind.</summary>
        public string Text { get; private set; }

        /// <summary>The text.</summary>
        public override string ToString()
        {
            return Text;
        }
    }

    /// <summary>What a command of the rig answered.</summary>
    public sealed class RigAnswer
    {
        internal RigAnswer(int exitCode, string text)
        {
            ExitCode = exitCode;
            Text = text;
        }

        /// <summary>
        /// 0; 1 when it failed, for instance because no edge came in time; 2 for an unknown command or wrong
        /// arguments: the text then says what is allowed.
        /// </summary>
        public int ExitCode { get; private set; }

        /// <summary>Lines of text, or one JSON object.</summary>
        public string Text { get; private set; }
    }

    /// <summary>Thrown when the rig refuses what a test asks for; the message says why.</summary>
    public class RigException : Exception
    {
        /// <param name="message">What was refused.</param>
        public RigException(string message) : base(message)
        {
        }
    }

    /// <summary>The virtual hardware: one camera, and the chips that its lines are wired to.</summary>
    public static class Rig
    {
        // ---- The scenario

        /// <summary>
        /// Replaces the whole virtual hardware; time, counts and the journal begin anew. A host that has used
        /// the hardware before has invalid handles then: SolvaneCamera.RecheckStatus.
        /// </summary>
        /// <param name="toml">A scenario. Empty: no hardware. Null: one FT2232H and one camera.</param>
        public static void Load(string toml = null)
        {
            Accept(Native.rig_load(Utf8(toml)), LastError);
        }

        /// <summary>The same from a file.</summary>
        /// <param name="path">Its name.</param>
        public static void LoadFile(string path)
        {
            NotNull(path, "path");
            Accept(Native.rig_load_file(Utf8(path)), LastError);
        }

        /// <summary>What was wrong with the last scenario; empty after a good one.</summary>
        public static string Error
        {
            get { return FromUtf8(Native.rig_error()); }
        }

        /// <summary>The file of the present scenario, "default", "given as text" or "none".</summary>
        public static string Scenario
        {
            get { return FromUtf8(Native.rig_scenario()); }
        }

        // ---- The lines. True is active: triggered, ready, latched, clearing, dark, powered

        /// <summary>The level of a line now.</summary>
        public static bool Level(RigLine line)
        {
            return Native.rig_level(line) != 0;
        }

        /// <summary>Holds RigLine.Ready or RigLine.Mep at a level, whatever the camera does.</summary>
        /// <returns>Releases the line when it is disposed of.</returns>
        public static IDisposable Force(RigLine line, bool level)
        {
            Accept(Native.rig_force(line, level ? 1 : 0), () => "No line to force: " + line);
            return new Until(() => Release(line));
        }

        /// <summary>Lets go of a line that is forced.</summary>
        public static void Release(RigLine line)
        {
            Accept(Native.rig_force(line, -1), () => "No line to force: " + line);
        }

        /// <summary>How many captures the camera has made since the scenario began.</summary>
        public static uint Captures
        {
            get { return Native.rig_captures(); }
        }

        // ---- USB

        /// <summary>Pulls the plug of a chip, counted from 0 in the order of the scenario.</summary>
        public static void Unplug(uint chip = 0)
        {
            Accept(Native.rig_unplug(chip), () => "No such chip: " + chip);
        }

        /// <summary>Puts the plug back.</summary>
        public static void Plug(uint chip = 0)
        {
            Accept(Native.rig_plug(chip), () => "No such chip: " + chip);
        }

        // ---- Faults

        /// <summary>
        /// Lets calls of a vendor function fail: with a status, with a wrong count, with both, or silently. When
        /// several faults apply to a call, the one that was added first counts.
        /// </summary>
        /// <param name="function">The function by its name, or "*" for any.</param>
        /// <param name="status">Returned; alone, nothing else happens.</param>
        /// <param name="count">Moved or reported instead of the true number of bytes or devices.</param>
        /// <param name="silent">Success is returned, and nothing happens. Goes with nothing else.</param>
        /// <param name="call">
        /// The first call that fails, counted from 1 since the scenario began; null: the next one.
        /// </param>
        /// <param name="times">How many calls in a row fail; 0: every one from then on.</param>
        public static void AddFault(string function, uint? status = null, uint? count = null,
                                    bool silent = false, uint? call = null, uint times = 1)
        {
            NotNull(function, "function");
            GCHandle name = GCHandle.Alloc(Utf8(function), GCHandleType.Pinned);
            try
            {
                Native.Fault fault = new Native.Fault
                {
                    function = name.AddrOfPinnedObject(),
                    call = call ?? Calls(function) + 1,
                    times = times,
                    kind = (status == null ? 0u : 1) | (count == null ? 0u : 2) | (silent ? 4u : 0),
                    status = status ?? 0,
                    count = count ?? 0
                };
                Accept(Native.rig_add_fault(ref fault), () => "No fault of " + function +
                    ": it needs a vendor function, a call from 1 on, and a status, a count, both, or silence");
            }
            finally
            {
                name.Free();
            }
        }

        /// <summary>Lifts every fault, those of the scenario too.</summary>
        public static void ClearFaults()
        {
            Native.rig_clear_faults();
        }

        /// <summary>How often a vendor function was called since the scenario began, or any.</summary>
        public static uint Calls(string function = "*")
        {
            return Native.rig_calls(Utf8(function));
        }

        // ---- The journal

        /// <summary>What has happened: the last 65,536 entries, or those of them since a mark.</summary>
        /// <param name="since">From Mark.</param>
        public static IList<RigEntry> Journal(ulong since = 0)
        {
            ulong first = since == 0 ? 0 : IndexOf(since);
            List<RigEntry> entries = new List<RigEntry>();
            Native.Entry entry;
            while (Native.rig_journal_entry((UIntPtr)(first + (ulong)entries.Count), out entry) == 0)
            {
                entries.Add(new RigEntry(entry.time, (RigEntryKind)entry.kind, FromUtf8(entry.text)));
            }
            return entries;
        }

        /// <summary>The number of the next entry: for Journal, WaitEdge and ExpectPulse.</summary>
        public static ulong Mark()
        {
            string answer = Demand("journal --since " + ulong.MaxValue, true);
            return ulong.Parse(Regex.Match(answer, "\"next\": ?([0-9]+)").Groups[1].Value);
        }

        // Where the entry of a number is now.
        private static ulong IndexOf(ulong number)
        {
            ulong next;
            ulong first;
            do
            {
                next = Mark();
                first = next - (ulong)Native.rig_journal_size();
            } while (next != Mark()); // another entry has come in between
            return number > first ? number - first : 0;
        }

        /// <summary>Forgets the entries, not the counts of calls.</summary>
        public static void ClearJournal()
        {
            Native.rig_journal_clear();
        }

        /// <summary>Writes a line of the test's own into the journal.</summary>
        public static void Note(string text)
        {
            NotNull(text, "text");
            Native.rig_note(Utf8(text));
        }

        // ---- Everything else

        /// <summary>
        /// Does a command of solvane-rig in the same words: "set exposure_ms 80", "wire trigger broken".
        /// "help" lists them. Those that wait block this thread and no other.
        /// </summary>
        /// <param name="words">The command; quotes hold words together.</param>
        /// <param name="json">Whether the answer is one JSON object.</param>
        public static RigAnswer Command(string words, bool json = false)
        {
            NotNull(words, "words");
            IntPtr text;
            int exitCode = Native.rig_command(Utf8(words), json ? 1 : 0, out text);
            return new RigAnswer(exitCode, FromUtf8(text));
        }

        /// <summary>
        /// Waits for the next edge of a line, or the first since a mark, and tells when it came.
        /// </summary>
        /// <exception cref="RigException">None came in time.</exception>
        public static string WaitEdge(RigLine line, bool level, uint withinMs = 5000, ulong? since = null)
        {
            return Wait("wait-edge", "'" + Name(line) + (level ? " 1'" : " 0'"), withinMs, since);
        }

        /// <summary>
        /// Waits for the next pulse of a line, or the first since a mark, and tells when it came.
        /// </summary>
        /// <exception cref="RigException">None came in time, or its width is not in the range.</exception>
        public static string ExpectPulse(RigLine line, double fromMs, double toMs, uint withinMs = 5000,
                                         ulong? since = null)
        {
            string range = string.Format(CultureInfo.InvariantCulture, "{0:0.######}..{1:0.######}", fromMs,
                                         toMs);
            return Wait("expect-pulse", Name(line) + " " + range, withinMs, since);
        }

        private static string Wait(string command, string what, uint withinMs, ulong? since)
        {
            string mark = since == null ? "" : " --since " + since;
            return Demand(command + " " + what + " --within " + withinMs + mark, false);
        }

        private static string Demand(string words, bool json)
        {
            RigAnswer answer = Command(words, json);
            Accept(answer.ExitCode, () => answer.Text);
            return answer.Text;
        }

        private static string Name(RigLine line)
        {
            return FromUtf8(Native.rig_line_name(line));
        }

        /// <summary>Nanoseconds since the scenario began.</summary>
        public static ulong TimeNs
        {
            get { return Native.rig_time(); }
        }

        /// <summary>Writes the lines to a waveform (VCD) from now on.</summary>
        /// <param name="path">The file; null ends the one that is being written.</param>
        /// <returns>Ends the file when it is disposed of.</returns>
        public static IDisposable WriteVcd(string path)
        {
            Accept(Native.rig_write_vcd(Utf8(path)), () => "Cannot be written: " + path);
            return new Until(() => Native.rig_write_vcd(null));
        }

        /// <summary>How many interfaces of the rig's WMI the host holds.</summary>
        public static int WbemInterfaces
        {
            get { return Native.rig_wbem_interfaces(); }
        }

        private sealed class Until : IDisposable
        {
            private readonly Action end;

            internal Until(Action whatEndsIt)
            {
                end = whatEndsIt;
            }

            public void Dispose()
            {
                end();
            }
        }

        // ---- Texts are UTF-8 with a zero at the end

        private static byte[] Utf8(string text)
        {
            if (text != null && text.IndexOf('\0') >= 0)
            {
                throw new ArgumentException("The rig's texts have no zero characters.");
            }
            return text == null ? null : Encoding.UTF8.GetBytes(text + "\0");
        }

        private static string FromUtf8(IntPtr text)
        {
            int length = 0;
            while (text != IntPtr.Zero && Marshal.ReadByte(text, length) != 0)
            {
                length++;
            }
            byte[] bytes = new byte[length];
            if (length > 0)
            {
                Marshal.Copy(text, bytes, 0, length);
            }
            return Encoding.UTF8.GetString(bytes);
        }

        private static void NotNull(string text, string name)
        {
            if (text == null)
            {
                throw new ArgumentNullException(name);
            }
        }

        private static string LastError()
        {
            return Error;
        }

        private static void Accept(int result, Func<string> reason)
        {
            if (result != 0)
            {
                throw new RigException(reason());
            }
        }

        private static class Native
        {
            private const string Library = "solvane_rig.dll";

            [StructLayout(LayoutKind.Sequential)]
            internal struct Fault
            {
                internal IntPtr function;
                internal uint call;
                internal uint times;
                internal uint kind;
                internal uint status;
                internal uint count;
            }

            [StructLayout(LayoutKind.Sequential)]
            internal struct Entry
            {
                internal ulong time;
                internal int kind;
                internal IntPtr text;
            }

            [DllImport(Library, CallingConvention = CallingConvention.Cdecl, ExactSpelling = true)]
            internal static extern int rig_load(byte[] toml);

            [DllImport(Library, CallingConvention = CallingConvention.Cdecl, ExactSpelling = true)]
            internal static extern int rig_load_file(byte[] path);

            [DllImport(Library, CallingConvention = CallingConvention.Cdecl, ExactSpelling = true)]
            internal static extern IntPtr rig_error();

            [DllImport(Library, CallingConvention = CallingConvention.Cdecl, ExactSpelling = true)]
            internal static extern IntPtr rig_scenario();

            [DllImport(Library, CallingConvention = CallingConvention.Cdecl, ExactSpelling = true)]
            internal static extern IntPtr rig_line_name(RigLine line);

            [DllImport(Library, CallingConvention = CallingConvention.Cdecl, ExactSpelling = true)]
            internal static extern int rig_level(RigLine line);

            [DllImport(Library, CallingConvention = CallingConvention.Cdecl, ExactSpelling = true)]
            internal static extern int rig_force(RigLine line, int level);

            [DllImport(Library, CallingConvention = CallingConvention.Cdecl, ExactSpelling = true)]
            internal static extern uint rig_captures();

            [DllImport(Library, CallingConvention = CallingConvention.Cdecl, ExactSpelling = true)]
            internal static extern int rig_unplug(uint chip);

            [DllImport(Library, CallingConvention = CallingConvention.Cdecl, ExactSpelling = true)]
            internal static extern int rig_plug(uint chip);

            [DllImport(Library, CallingConvention = CallingConvention.Cdecl, ExactSpelling = true)]
            internal static extern int rig_wbem_interfaces();

            [DllImport(Library, CallingConvention = CallingConvention.Cdecl, ExactSpelling = true)]
            internal static extern int rig_add_fault(ref Fault fault);

            [DllImport(Library, CallingConvention = CallingConvention.Cdecl, ExactSpelling = true)]
            internal static extern void rig_clear_faults();

            [DllImport(Library, CallingConvention = CallingConvention.Cdecl, ExactSpelling = true)]
            internal static extern uint rig_calls(byte[] function);

            [DllImport(Library, CallingConvention = CallingConvention.Cdecl, ExactSpelling = true)]
            internal static extern UIntPtr rig_journal_size();

            [DllImport(Library, CallingConvention = CallingConvention.Cdecl, ExactSpelling = true)]
            internal static extern int rig_journal_entry(UIntPtr index, out Entry entry);

            [DllImport(Library, CallingConvention = CallingConvention.Cdecl, ExactSpelling = true)]
            internal static extern void rig_journal_clear();

            [DllImport(Library, CallingConvention = CallingConvention.Cdecl, ExactSpelling = true)]
            internal static extern void rig_note(byte[] text);

            [DllImport(Library, CallingConvention = CallingConvention.Cdecl, ExactSpelling = true)]
            internal static extern int rig_command(byte[] words, int json, out IntPtr answer);

            [DllImport(Library, CallingConvention = CallingConvention.Cdecl, ExactSpelling = true)]
            internal static extern ulong rig_time();

            [DllImport(Library, CallingConvention = CallingConvention.Cdecl, ExactSpelling = true)]
            internal static extern int rig_write_vcd(byte[] path);
        }
    }
}
