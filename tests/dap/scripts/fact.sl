define fact ();
define fact (n)
{
   variable below = 1;
   if (n > 1)
     below = fact (n - 1);
   return n * below;
}
variable f4 = fact (4);
vmessage ("fact (4) = %d", f4);
