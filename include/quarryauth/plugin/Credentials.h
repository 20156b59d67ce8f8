/* The account record that a caller hands to the directory client plug-in.
 * Plug-ins may define a longer record that begins with these two members;
 * the library passes the record through by pointer and reads only them. */
#ifndef QUARRYAUTH_PLUGIN_CREDENTIALS_H
#define QUARRYAUTH_PLUGIN_CREDENTIALS_H

typedef struct Credentials {
  const char* username; /* may be null */
  const char* password; /* may be null */
} Credentials;

#endif
