// The web pages shown to a user: consent, sign-out, the redirect page with the code, and failures.

const kStyle = `body { font: 16px sans-serif; max-width: 36em; margin: 3em auto; padding: 0 1em }
code { overflow-wrap: anywhere; background: #eee; padding: .2em .4em }
button { font: inherit; padding: .4em 1.2em; margin-right: 1em }`;

export function escapeHtml(text) {
  const entities = { '&': '&amp;', '<': '&lt;', '>': '&gt;', '"': '&quot;', "'": '&#39;' };
  return text.replace(/[&<>"']/g, (letter) => entities[letter]);
}

function page(title, body) {
  return `<!DOCTYPE html>
<html lang="en">
<head><meta charset="utf-8"><title>${escapeHtml(title)}</title><style>${kStyle}</style></head>
<body>
<h1>${escapeHtml(title)}</h1>
${body}
</body>
</html>
`;
}

/** A form for the account to sign in with and for the consent to `scopes`; one POST submits it. */
export function consentPage({ service, clientId, scopes, account }) {
  const items = scopes.map((scope) => `<li><code>${escapeHtml(scope)}</code></li>`).join('\n');
  return page(
    `Sign in to ${service} (sandbox)`,
    `<p>The application <code>${escapeHtml(clientId)}</code> asks for:</p>
<ul>
${items}
</ul>
<form method="post">
<p><label>Account: <input name="account" value="${escapeHtml(account)}" required></label></p>
<p><button name="decision" value="allow">Allow</button>
<button name="decision" value="deny">Deny</button></p>
</form>`,
  );
}

/** The page to which all services redirect their users; its query holds a code or an error. */
export function redirectPage(query) {
  if (query.has('code')) {
    return page(
      'Account linked',
      `<p>Hand this code to the application:</p>
<p><code id="code">${escapeHtml(query.get('code'))}</code></p>`,
    );
  }
  const error = query.get('error') ?? 'no code and no error came back';
  const description = query.get('error_description') ?? '';
  return page(
    'Account not linked',
    `<p><code id="error">${escapeHtml(error)}</code> ${escapeHtml(description)}</p>`,
  );
}

export function signedOutPage() {
  return page('Signed out', '<p>You are signed out.</p>');
}

export function failurePage({ error, description }) {
  return page(
    'The request is not valid',
    `<p><code id="error">${escapeHtml(error)}</code> ${escapeHtml(description)}</p>`,
  );
}
