// The applications registered with the sandbox: the build's defaults, see cmake/Services.cmake.
// They are placeholders, not registered with any real service, so nothing here is secret.

export const kRedirectUri = 'https://vemlo.example/redirect.php';

export const kClients = {
  google: {
    clientId: '123456789012-abcdefghijklmnopqrstuvwxyz012345.apps.googleusercontent.com',
    clientSecret: 'PLACEHOLDER-clientsecr01',
  },
  amazon: {
    clientId: 'amzn1.application-oa2-client.0123456789abcdef0123456789abcdef',
    clientSecret: '0123456789abcdef'.repeat(4),
  },
  microsoft: {
    clientId: '01234567-89ab-cdef-0123-456789abcdef',
    clientSecret: 'PlaceholderSecret012345',
  },
  dropbox: {
    clientId: 'placeholder0key',
    clientSecret: 'placeholder0sec',
  },
};

// The default accounts. Any other name is accepted too: an account with an empty drive is created
// at the first sign-in.
export const kAccounts = { account: 'ann@example.test', otherAccount: 'ben@example.test' };
