// The console's formatter: errors. An error shows its stack (in brackets
// when it has no frames), headed by its class when the stack names another,
// followed by its own extra properties, `cause` and `errors`.

function textProperty(object, key) {
  const value = dataProperty(object, key);
  return typeof value === 'string' ? value : undefined;
}

function removeKey(keys, key) {
  for (let i = 0; i < keys.length; i++) {
    if (keys[i] !== key) continue;
    for (let j = i; j < keys.length - 1; j++) keys[j] = keys[j + 1];
    keys.length -= 1;
    return true;
  }
  return false;
}

function hasKey(keys, key) {
  for (let i = 0; i < keys.length; i++) if (keys[i] === key) return true;
  return false;
}

function errorBase(ctx, error, constructor, tag, keys) {
  const name = textProperty(error, 'name');
  const message = textProperty(error, 'message');
  const stackValue = dataProperty(error, 'stack');
  let stack;
  if (typeof stackValue === 'string' && stackValue !== '') {
    stack = stackValue;
  } else {
    const shownName = name === undefined ? 'Error' : name;
    const shownMessage = message === undefined ? '' : message;
    stack = shownName === '' ? shownMessage
      : shownMessage === '' ? shownName : `${shownName}: ${shownMessage}`;
  }
  if (!ctx.showHidden && keys.length !== 0) {
    const names = ['name', 'message', 'stack'];
    for (let i = 0; i < names.length; i++) {
      const own = ReflectDescriptor(error, names[i]);
      if (own !== undefined && typeof own.value === 'string' && includesText(stack, own.value)) {
        removeKey(keys, names[i]);
      }
    }
  }
  if (HasOwn(error, 'cause') && !hasKey(keys, 'cause')) append(keys, 'cause');
  const errors = ReflectDescriptor(error, 'errors');
  if (errors !== undefined && natives.kindOf(errors.value) === 'array' && !hasKey(keys, 'errors')) {
    append(keys, 'errors');
  }
  stack = namedStack(stack, constructor, name === undefined ? 'Error' : name, tag);
  let searchFrom = -1;
  if (message !== undefined && message !== '') {
    searchFrom = StringIndexOf(stack, message);
    if (searchFrom !== -1) searchFrom += message.length;
  }
  if (StringIndexOf(stack, '\n    at', searchFrom) === -1) stack = `[${stack}]`;
  if (ctx.indentationLvl !== 0) stack = replaceAll(stack, '\n', `\n${spaces(ctx.indentationLvl)}`);
  return stack;
}

const stackHead = /^([A-Z][a-z_ A-Z0-9[\]()-]+)(?::|\n\s+at)/;
const bareHead = /^([a-z_A-Z0-9-]*Error)$/;

// The stack's first word is the error's name; when the error's class (or
// its missing prototype) says more, the head shows that too.
function namedStack(stack, constructor, name, tag) {
  let length = name.length;
  const plain = name.length >= 5 && StringSlice(name, -5) === 'Error' &&
    StringSlice(stack, 0, length) === name &&
    (stack.length === length || stack[length] === ':' || stack[length] === '\n');
  if (constructor !== null && !plain) return stack;
  let fallback = 'Error';
  if (constructor === null) {
    const found = RegExpExec(stackHead, stack) || RegExpExec(bareHead, stack);
    fallback = (found && found[1]) || '';
    length = fallback.length;
    fallback = fallback || 'Error';
  }
  const prefix = StringSlice(prefixOf(constructor, tag, fallback), 0, -1);
  if (name === prefix) return stack;
  if (includesText(prefix, name)) {
    if (length === 0) return `${prefix}: ${stack}`;
    return `${prefix}${StringSlice(stack, length)}`;
  }
  return `${prefix} [${name}]${StringSlice(stack, length)}`;
}
