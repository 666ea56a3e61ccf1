// A program that forgot its WinMain.
int answer();
int answer() {
    return 42;
}
