% A caught error, then one that nobody catches.
variable data = [10, 20, 30];

define careful ()
{
   try
     {
        throw RunTimeError, "handled here";
     }
   catch RunTimeError;
   return 1;
}

define fetch (i)
{
   variable where = "fetch";
   return data[i];
}

() = careful ();
message ("before the error");
variable v = fetch (7);
message ("never printed");
