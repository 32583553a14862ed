// What the tests in C# have in common: each case prints its name when it has passed.

using System;
using System.Collections.Generic;
using System.Linq;
using Solvane;

static class Expect
{
    public static int Run(params Action[] cases)
    {
        int failures = 0;
        foreach (Action each in cases)
        {
            try
            {
                each();
                Console.WriteLine(each.Method.Name);
            }
            catch (Exception error)
            {
                failures++;
                Console.Error.WriteLine(each.Method.Name + ": " + error);
            }
        }
        return failures == 0 ? 0 : 1;
    }

    public static void Equal<T>(T expected, T seen)
    {
        if (!EqualityComparer<T>.Default.Equals(expected, seen))
        {
            throw new Exception("expected " + expected + ", seen " + seen);
        }
    }

    public static void Sequence(IEnumerable<string> seen, params string[] expected)
    {
        Equal(string.Join("\n", expected), string.Join("\n", seen.ToArray()));
    }

    public static E Throws<E>(Action call) where E : Exception
    {
        try
        {
            call();
        }
        catch (E error)
        {
            return error;
        }
        throw new Exception("no " + typeof(E).Name);
    }

    public static void Contains(string part, string whole)
    {
        if (!whole.Contains(part))
        {
            throw new Exception("no \"" + part + "\" in: " + whole);
        }
    }

    public static void Status(short expected, Action call)
    {
        Equal(expected, Throws<SolvaneException>(call).Status);
    }
}
