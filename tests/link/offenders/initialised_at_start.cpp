int AtStart();
extern int startValue;

int startValue = AtStart();
