// Writes the library's log of how it finds the hardware to a file: log_to_file [solvane.log]

using System;
using System.IO;
using Solvane;

static class LogToFile
{
    static int Main(string[] arguments)
    {
        string path = arguments.Length > 0 ? arguments[0] : "solvane.log";
        int lines = 0;
        SolvaneException failure = null;
        try
        {
            using (StreamWriter file = new StreamWriter(path))
            // Before the first call, because earlier lines are lost, and disposed of before the file
            // closes. The function is called in the middle of operations, so it returns quickly, and
            // it calls nothing of Solvane's.
            using (new SolvaneLogger(line => { file.WriteLine(line); lines++; }))
            {
                SolvaneCamera.CheckAvailable();
            }
        }
        catch (SolvaneException error)
        {
            failure = error;
        }
        catch (IOException error)
        {
            Console.Error.WriteLine(error.Message);
            return 1;
        }

        Console.WriteLine(lines + " lines logged");
        if (failure != null)
        {
            Console.Error.WriteLine(failure.Message);
            return 1;
        }
        return 0;
    }
}
