// A host whose user interface stays alive while a picture is taken. One thread has the camera to itself, and
// the thread of the interface never waits for it.
//
// The interface is a message loop without a window, so that this is one file. In Windows Forms and WPF the
// loop is the framework's: leave Interface out, and `await` comes back to the interface's thread by itself.

using System;
using System.Collections.Concurrent;
using System.Diagnostics;
using System.Threading;
using System.Threading.Tasks;
using Solvane;

static class KeepUiAlive
{
    const int ReadyMs = 2000, MepMs = 2000, PollMs = 5; // the camera's; see take_a_picture.cs

    static int Main()
    {
        Interface ui = new Interface();
        int result = 1;
        ui.Run(async () => { result = await OnButtonAsync(ui); });
        return result;
    }

    // What a button would do. It runs on the interface's thread, and lets go of it at each await.
    static async Task<int> OnButtonAsync(Interface ui)
    {
        using (CameraThread camera = new CameraThread(line => ui.Post(() => ui.ShowLogLine(line))))
        {
            try
            {
                int before = ui.Drawn;
                bool taken = await camera.Do(() => TakePicture());
                Console.WriteLine(taken ? "taken" : "not confirmed");
                Console.WriteLine("drawn meanwhile: " + (ui.Drawn - before));
                return taken ? 0 : 1;
            }
            catch (SolvaneException error) // thrown on the camera's thread, and caught here
            {
                Console.Error.WriteLine(error.Message);
                return 1;
            }
        }
    }

    // The recipe in short, on the camera's thread.
    static bool TakePicture()
    {
        if (!WaitForYes(SolvaneCamera.CheckSystemReady, ReadyMs))
        {
            return false;
        }
        SolvaneCamera.CheckAndResetMepFlag();
        SolvaneCamera.TriggerCapture();
        return WaitForYes(SolvaneCamera.CheckAndResetMepFlag, MepMs) &&
            !SolvaneCamera.CheckAndResetMepFlag();
    }

    static bool WaitForYes(Func<bool> ask, int milliseconds)
    {
        Stopwatch watch = Stopwatch.StartNew();
        bool yes = ask();
        while (!yes && watch.ElapsedMilliseconds < milliseconds)
        {
            Thread.Sleep(PollMs);
            yes = ask();
        }
        return yes;
    }
}

/// <summary>The one thread that calls Solvane, from the log function on. Its work queues up.</summary>
sealed class CameraThread : IDisposable
{
    private readonly BlockingCollection<Action> work = new BlockingCollection<Action>();
    private readonly Thread thread;

    public CameraThread(Action<string> onLogLine)
    {
        thread = new Thread(() =>
        {
            // The log function runs on this thread, in the middle of a pulse perhaps: it only posts.
            using (new SolvaneLogger(onLogLine))
            {
                foreach (Action next in work.GetConsumingEnumerable())
                {
                    next();
                }
            }
        });
        thread.Name = "camera";
        thread.Start();
    }

    public Task<T> Do<T>(Func<T> function)
    {
        TaskCompletionSource<T> done = new TaskCompletionSource<T>();
        work.Add(() =>
        {
            try
            {
                done.SetResult(function());
            }
            catch (Exception error)
            {
                done.SetException(error);
            }
        });
        return done.Task;
    }

    /// <summary>Ends the thread when its work is done. A window does this when it has closed.</summary>
    public void Dispose()
    {
        work.CompleteAdding();
        thread.Join();
    }
}

/// <summary>A message loop that draws 50 times a second; awaits return to it.</summary>
sealed class Interface : SynchronizationContext
{
    private readonly BlockingCollection<Action> messages = new BlockingCollection<Action>();

    public int Drawn { get; private set; }

    public void Run(Func<Task> onStart)
    {
        SetSynchronizationContext(this);
        Task whole = onStart();
        while (!whole.IsCompleted)
        {
            Action message;
            if (messages.TryTake(out message, 20))
            {
                message();
            }
            else
            {
                Drawn++; // a window would draw itself here
            }
        }
        whole.GetAwaiter().GetResult(); // throws what it has thrown
    }

    public void ShowLogLine(string line)
    {
        Console.Error.WriteLine(line);
    }

    public void Post(Action message)
    {
        messages.Add(message);
    }

    public override void Post(SendOrPostCallback message, object state)
    {
        messages.Add(() => message(state));
    }
}
