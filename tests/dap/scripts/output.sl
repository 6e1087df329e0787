message ("from message");
vmessage ("from vmessage %d", 42);
require ("print");
print ("from print");
() = fprintf (stdout, "from fprintf stdout\n");
() = fprintf (stderr, "from fprintf stderr\n");
vmessage ("args: %s", strjoin (__argv[[1:]], ","));
vmessage ("cwd: %s", getcwd ());
