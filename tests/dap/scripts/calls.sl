% Calls three deep, a file loaded with evalfile and a library required
% from slsh's own scripts.
() = evalfile (path_concat (path_dirname (__FILE__), "lib.sl"));
require ("setfuns");
variable log_count = 0;

define leaf (x)
{
   variable y = x * 2;
   log_count++;
   return y;
}

define middle (x)
{
   variable a = leaf (x);
   variable b = scale (a, 10);
   return a + b;
}

define top (n)
{
   variable r = middle (n);
   r = r + 1;
   return r;
}

variable first = top (1);
variable second = top (2);
variable u = unique ([3, 1, 3, 2]);
vmessage ("first=%d second=%d unique=%d", first, second, length (u));
