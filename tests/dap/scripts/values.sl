% Values of every kind, a structure that holds itself and a long string.
variable big = [0:99999];
variable grid = _reshape ([1:6], [2, 3]);
variable self = struct {name = "loop", next = NULL};
self.next = self;
variable items = {1, "two", {3, [4, 5]}};
variable ages = Assoc_Type[];
ages["ann"] = 31;
ages["bob"] = 42;
variable long_text = "";
loop (3000) long_text += "x";
variable pi = 3.25;
define show (s)
{
   variable local_copy = s;
   message ("showing " + s.name);
}
show (self);
exit (3);
