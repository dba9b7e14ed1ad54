#ifdef X
