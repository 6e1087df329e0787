% A function that loops long without calls: the statement hook leaves it.
define never ()
{
   return 0;
}
define spin (n)
{
   variable i = 0, acc = 0;
   while (i < n)
     {
        i++;
        acc += i mod 3;
     }
   return acc;
}
message ("spinning");
variable total = spin (200000000);
