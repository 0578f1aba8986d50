/* A fetch that never waits, for the examples with message loops. */
#ifndef EVENT_LOOP_H_
#define EVENT_LOOP_H_

#include <qvhttp12.h>
#include <stdio.h>

#define SESSION_EVENT (WM_APP + 1)

static const char* fetched_url;

/* Ends the session, if there is one, and the loop. */
static void Finish(HCLIENT client, int exit_code) {
  char error[256] = "";
  if (exit_code != 0 && HttpGetErrorString(0, error, sizeof error)) fprintf(stderr, "%s\n", error);
  if (client != INVALID_CLIENT) HttpDisconnect(client);
  PostQuitMessage(exit_code);
}

/* Writes out what has come; the rest is announced by the next HTTP_EVENT_READ. */
static void ReadAvailable(HCLIENT client) {
  BYTE buffer[4096];
  INT count;
  while ((count = HttpRead(client, buffer, sizeof buffer)) > 0)
    fwrite(buffer, 1, (size_t)count, stdout);
  if (count == 0) Finish(client, 0);
  if (count < 0 && HttpGetLastError() != QV_ERROR_OPERATION_WOULD_BLOCK) Finish(client, 1);
}

static void OnEvent(HCLIENT client, UINT event, UINT error) {
  switch (event) {
    case HTTP_EVENT_CONNECT: /* without an error: ask; the answer comes later */
      if (error != 0 || HttpCommand(client, "GET", fetched_url, NULL, 0, 0) == HTTP_ERROR)
        Finish(client, 1);
      break;
    case HTTP_EVENT_COMMAND: /* the header of the response has come */
      if (error != 0) Finish(client, 1);
      break;
    case HTTP_EVENT_READ:
      ReadAvailable(client);
      break;
    case HTTP_EVENT_DISCONNECT:
      Finish(client, 0);
      break;
    default:
      break;
  }
}

static LRESULT CALLBACK WindowProcedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  if (message != SESSION_EVENT) return DefWindowProcA(window, message, wparam, lparam);
  OnEvent((HCLIENT)wparam, (UINT)(lparam & 0xFFFF), (UINT)(lparam >> 16 & 0xFFFF));
  return 0;
}

/* Starts to fetch a URL of the form http://host[:port]/path. */
static HCLIENT StartFetch(const char* url) {
  WNDCLASSA description = {0};
  HWND window;
  fetched_url = url;
  description.lpfnWndProc = WindowProcedure;
  description.lpszClassName = "Fetch";
  RegisterClassA(&description);
  window = CreateWindowExA(0, "Fetch", "", 0, 0, 0, 0, 0, HWND_MESSAGE, NULL, NULL, NULL);
  return HttpAsyncConnect(url, 0, HTTP_TIMEOUT, HTTP_OPTION_NONE, HTTP_VERSION_DEFAULT, NULL,
                          window, SESSION_EVENT);
}

#endif
