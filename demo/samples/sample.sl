% Velmor sample: a small S-Lang script
/*
 * Statistics over a list of readings.
 * The block comment runs over several lines;
 * the editor keeps it green to its end.
 */
@:readings
variable readings = [3.5, 4.25, 2.0, 7.75, 5.5];
variable label = "sensor A";   // the first string of a line is coloured

define mean (a)
{
   return sum (a) / length (a);
}

define spread (a)
{
   variable m = mean (a);
   return sqrt (sum ((a - m) ^ 2) / length (a));
}

@-skip the slow path
define report (name, a)
{
   variable lo = min (a), hi = max (a);
   if ((lo > 0) and (hi < 100) or (length (a) == 0))
     vmessage ("%s: mean %.2f, spread %.2f", name, mean (a), spread (a));
   /* one-line comment */ variable scaled = log10 (abs (hi)) * exp (-lo);
   return scaled;
}
@+

variable r = report (label, readings);
variable angle = atan (r) + sin (r) * cos (r) xor 1;
@-

% The station of this report. Make the vmessage line below the execution
% line, hold there (Debug menu) and rest the mouse on "station".
variable station = struct { name, latitude, readings, count };
station.name = label;
station.latitude = 51.48;
station.readings = readings;
station.count = 5;
vmessage ("%s at %.2f: %d readings", station.name, station.latitude, station.count);
