// A program that forgot its WinMain.
extern const int answer;
const int answer = 42;
