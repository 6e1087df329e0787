variable spins = 0;
while (1)
  {
     spins++;
  }
