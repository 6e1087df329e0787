% Loaded by evalfile from calls.sl.
define scale (v, k)
{
   variable scaled = v * k;
   return scaled;
}
