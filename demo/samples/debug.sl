% Velmor debugging sample: Debug > Start Debugging (F5) runs it under the
% debug adapter. F9 sets a breakpoint on the caret line; F10, F11 and
% Shift+F11 step; the mouse shows values while the script is stopped.
variable station = struct { name, latitude, readings };
station.name = "sensor A";
station.latitude = 51.48;
station.readings = [3.5, 4.25, 2.0, 7.75, 5.5];

define mean (a)
{
   variable total = sum (a);
   return total / length (a);
}

define report (s)
{
   variable m = mean (s.readings);
   vmessage ("%s: mean %.2f", s.name, m);
   return m;
}

variable r = report (station);
print (r);
% Reading past the end of the array is a runtime error: the session stops
% on it with its message.
variable late = station.readings[10];
print (late);
