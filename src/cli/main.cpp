// PLACEHOLDER: to be replaced by the command.
int main() { return 2; }
