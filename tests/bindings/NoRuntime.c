/* What a compiler's runtime would bring along. */
int _fltused = 0;
