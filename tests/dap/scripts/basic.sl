% A small program: a function called in a loop, a structure and an array.
variable counter = 0;
define add (a, b)
{
   variable sum = a + b;
   counter++;
   return sum;
}

define outer (n)
{
   variable i, total = 0;
   for (i = 0; i < n; i++)
     {
        total = add (total, i);
     }
   return total;
}

variable point = struct {x = 3, y = 4, name = "origin"};
variable numbers = [1:100000];
variable words = {"alpha", 2, 3.5};
variable table = Assoc_Type[Int_Type];
table["one"] = 1;
table["two"] = 2;
variable result = outer (4);
message ("result is " + string (result));
() = fprintf (stderr, "to stderr %d\n", result);
vmessage ("argv has %d", length (__argv));
