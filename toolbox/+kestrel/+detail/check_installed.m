function check_installed(caller, name)
%CHECK_INSTALLED  Refuses to go on where the compiled function NAME is not beside its .m files.
%   The folder that a user finds first is that of the sources, which holds none.
  toolbox = fileparts(fileparts(fileparts(mfilename('fullpath'))));
  file = fullfile(toolbox, '+kestrel', '+detail', [name, '.', mexext()]);
  if strcmp(name, 'fnm_cw_single')
    file = fullfile(toolbox, [name, '.', mexext()]);
  end
  if exist(file, 'file')
    return
  end
  root = fileparts(toolbox);
  if ~exist(fullfile(root, 'CMakeLists.txt'), 'file')
    error('kestrel:installation', '%s: the compiled function %s is missing.', caller, file);
  end
  built = fullfile(root, 'build', 'toolbox');
  how = '';
  if ~exist(fullfile(built, ['fnm_cw_single.', mexext()]), 'file')
    how = sprintf(' after "make toolbox" in %s', root);
  end
  error('kestrel:installation', ...
        ['%s: %s holds the sources, without the compiled functions. Take it off the path and ' ...
         'add %s instead%s.'], caller, toolbox, built, how);
end
