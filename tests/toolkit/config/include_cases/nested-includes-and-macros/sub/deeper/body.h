  inner = FROM_MAIN;
