define down ();
define down (n)
{
   return down (n + 1);
}
message ("going down");
() = down (0);
