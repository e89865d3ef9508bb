import tseslint from "typescript-eslint";

export default tseslint.config(...tseslint.configs.strictTypeChecked, {
  languageOptions: { parserOptions: { projectService: true } },
  rules: {
    "@typescript-eslint/restrict-template-expressions": ["error", { allowNumber: true }],
    // Of node:test, which waits for them itself.
    "@typescript-eslint/no-floating-promises": ["error", { allowForKnownSafeCalls: [{ from: "package", name: ["test"], package: "node:test" }] }],
  },
});
